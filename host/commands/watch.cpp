#include "host/commands/watch.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>

#include "host/link/station.h"
#include "host/log/log_reader.h"
#include "host/protocol/errors.h"
#include "host/protocol/message_json.h"
#include "host/protocol/message_lines.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// Prints messages as they complete, and at the end how many frames and messages there were.
class MessagePrinter {
 public:
  explicit MessagePrinter(const watch_options_t& options) : options_(options) {}
  void Accept(const bus::frame_t& frame);
  // `lost`: lines of the log without a frame, or frames of the bus that were lost.
  void Summarise(std::uint64_t lost, const char* what) const;

 private:
  bool IsToPrint(const bus_message_t& message);

  const watch_options_t& options_;
  TrafficDecoder decoder_;
  // The last words of each kind of message: some 60 kinds of host and display, and those of other stations.
  std::map<std::string, std::string> last_;
};

bool MessagePrinter::IsToPrint(const bus_message_t& message) {
  constexpr std::size_t MOST_KINDS = 4096;
  if (!options_.changes) return true;
  if (last_.size() > MOST_KINDS) last_.clear();
  const std::string kind = message.sender == sender_t::OTHER ? std::to_string(message.frame.identifier)
                                                             : message.decoded.command + message.decoded.name;
  std::string words = FormatMessage(message.decoded);
  std::string& last = last_[std::string(SenderName(message.sender)) + kind];
  if (last == words) return false;
  last = std::move(words);
  return true;
}

void MessagePrinter::Accept(const bus::frame_t& frame) {
  const auto message = decoder_.Accept(frame);
  if (!message || !IsToPrint(*message)) return;
  std::cout << (options_.json ? FormatJsonLine(*message) : FormatWatchLine(*message)) << '\n';
}

void MessagePrinter::Summarise(std::uint64_t lost, const char* what) const {
  std::cout.flush();
  const auto& host = decoder_.Host();
  const auto& display = decoder_.Display();
  std::cerr << "hx7: " << decoder_.Counts().frames << " frames, " << decoder_.Counts().others
            << " of other stations";
  if (lost > 0) std::cerr << ", " << lost << what;
  std::cerr << "\nhx7: messages: host " << host.messages + decoder_.Counts().requests << ", display "
            << display.messages << "; broken: host " << host.broken << ", display " << display.broken
            << "; stray frames: host " << host.strays << ", display " << display.strays
            << "; too long: " << host.tooLong + display.tooLong
            << "; requests without a reply: " << decoder_.Unanswered() << '\n';
}

void WatchLog(std::istream& in, MessagePrinter& printer) {
  LogReader reader(in);
  std::uint64_t frames = 0;
  try {
    while (const auto frame = reader.Next()) {
      printer.Accept(*frame);
      ++frames;
    }
  } catch (const UsageError&) {  // the log is broken; what was before that place stays
    printer.Summarise(reader.Skipped(), " lines without a frame");
    throw;
  }
  printer.Summarise(reader.Skipped(), " lines without a frame");
  if (frames == 0)
    throw UsageError("the log holds no frame; `hx7 play --help` names the kinds of logs that hx7 reads");
}

void WatchBus(const watch_options_t& options, MessagePrinter& printer) {
  constexpr int WAIT_MS = 100;
  const StopSignal stop;
  Station station(options.bus, stop);
  const auto end = Clock::now() + std::chrono::duration<double>(options.seconds.value_or(0));
  while (!stop.Stopped() && (!options.seconds || Clock::now() < end)) {
    bus::frame_t frame;
    if (station.Receive(frame, 0)) {
      printer.Accept(frame);
      continue;
    }
    std::cout.flush();  // show everything received before waiting
    if (station.Receive(frame, WAIT_MS)) printer.Accept(frame);
  }
  printer.Summarise(station.Lost(), " lost because they came too fast");
}

}  // namespace

void Watch(const watch_options_t& options) {
  MessagePrinter printer(options);
  if (options.file.empty()) return WatchBus(options, printer);
  if (options.file == "-") return WatchLog(std::cin, printer);
  std::ifstream file(options.file);
  if (!file) throw UsageError("cannot read the log " + options.file + "; check its name and its rights");
  WatchLog(file, printer);
}

}  // namespace host
