#include "host/commands/send.h"

#include <chrono>
#include <iostream>

#include "platform/paths.h"

#include "host/link/station.h"
#include "host/protocol/errors.h"
#include "host/protocol/message_lines.h"
#include "host/protocol/send_plan.h"
#include "host/protocol/traffic_decoder.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// Listens to the whole bus meanwhile, because another host's requests get their answers on the same identifier.
void AwaitAnswer(const send_step_t& step, Station& station, TrafficDecoder& decoder, double timeout_s) {
  for (bus::frame_t frame : step.frames) {
    frame.time_us = bus::RealTime_us();
    decoder.Accept(frame);
  }
  const auto end = Clock::now() + std::chrono::duration<double>(timeout_s);
  for (bus::frame_t frame; Clock::now() < end;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (!station.Receive(frame, static_cast<int>(left.count()))) break;
    // One clock for the requests and the answers, whatever the server's says.
    frame.time_us = bus::RealTime_us();
    const auto heard = decoder.Accept(frame);
    if (!heard || heard->request != step.request) continue;
    std::cout << FormatMessage(heard->decoded) << std::endl;
    return;
  }
  throw Failure("the display does not answer " + std::string(step.request->name) + "; is it running?");
}

}  // namespace

void Send(const send_options_t& options) {
  const std::string directory = platform::RuntimeDirectory();
  Cmd2Values values = options.neutral ? Cmd2Values() : LoadSentValues(directory);
  const plan_t plan = PlanSend(options.arguments, values);
  const StopSignal stop;
  Station station(options.bus, stop);
  TrafficDecoder decoder;
  for (const send_step_t& step : plan.steps) {
    if (!station.Send(step.frames)) return;
    if (step.request != nullptr) AwaitAnswer(step, station, decoder, options.timeout_s);
  }
  if (plan.sendsValues) SaveSentValues(directory, values);
}

}  // namespace host
