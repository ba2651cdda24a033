#include "host/commands/send.h"

#include <chrono>
#include <iostream>

#include "platform/paths.h"

#include "host/commands/hold.h"
#include "host/link/station.h"
#include "host/protocol/errors.h"
#include "host/protocol/message_lines.h"
#include "host/protocol/send_plan.h"
#include "host/protocol/traffic_decoder.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// Waits for the display's reply to the step's request and prints it. The decoder must see the whole bus,
// because the replies to another host's requests have the same identifier. All frames get the time of this
// machine's clock, so that a server with another clock does not spoil the matching.
void AwaitReply(const send_step_t& step, Station& station, TrafficDecoder& decoder, double timeout_s) {
  const auto accept = [&decoder](bus::frame_t frame) {
    frame.time_us = bus::RealTime_us();
    return decoder.Accept(frame);
  };
  for (const bus::frame_t& frame : step.frames) accept(frame);
  const auto end = Clock::now() + std::chrono::duration<double>(timeout_s);
  for (bus::frame_t frame; Clock::now() < end;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (!station.Receive(frame, static_cast<int>(left.count()))) break;
    const auto message = accept(frame);
    if (!message || message->request != step.request) continue;
    std::cout << FormatMessage(message->decoded) << std::endl;
    return;
  }
  throw Failure("the display does not answer " + std::string(step.request->name) +
                "; is it running, and on this bus?");
}

// The operating values among the arguments, as `hx7 hold` takes them.
std::string ListHeld(const send_options_t& options) {
  std::string text;
  for (const std::string& argument : options.arguments) {
    const bool isValue = FindField(OperatingValuesCommand(), argument.substr(0, argument.find('='))) != nullptr;
    if (isValue) text += " " + argument;
  }
  return text;
}

void WarnOfSimulator(const send_options_t& options) {
  const std::string held = ListHeld(options);
  if (held.empty() || options.bus != "local" || !SimulatorRuns()) return;
  std::cerr << "hx7: a simulator runs here and overwrites these values at once, ten times a second; `hx7 hold" +
                   held + "` holds them\n";
}

}  // namespace

void Send(const send_options_t& options) {
  const std::string directory = platform::RuntimeDirectory();
  Cmd2Values values = options.neutral ? Cmd2Values() : ReadSentValues(directory);
  const plan_t plan = PlanSend(options.arguments, values);
  const StopSignal stop;
  Station station(options.bus, stop);
  TrafficDecoder decoder;
  for (const send_step_t& step : plan.steps) {
    if (!station.Send(step.frames)) return;
    if (step.request != nullptr) AwaitReply(step, station, decoder, options.timeout_s);
  }
  if (plan.sendsValues) WriteSentValues(directory, values);
  WarnOfSimulator(options);
}

}  // namespace host
