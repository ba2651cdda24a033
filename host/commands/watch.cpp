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

// Prints the decoder as it goes on, and at the end what it was made of.
class Watcher {
 public:
  explicit Watcher(const watch_options_t& options) : options_(options) {}
  void Hear(const bus::frame_t& frame);
  // What was not heard: lines of a log, or frames of the bus.
  void Summarise(std::uint64_t lost, const char* what) const;

 private:
  bool IsNews(const bus_message_t& heard);

  const watch_options_t& options_;
  TrafficDecoder decoder_;
  std::map<std::string, std::string>
      last_;  // words by kind, of at most some 60 kinds and those of other stations
};

bool Watcher::IsNews(const bus_message_t& heard) {
  constexpr std::size_t MOST_KINDS = 4096;
  if (!options_.changes) return true;
  if (last_.size() > MOST_KINDS) last_.clear();
  const std::string kind = heard.sender == sender_t::OTHER ? std::to_string(heard.frame.identifier)
                                                           : heard.decoded.command + heard.decoded.name;
  std::string words = FormatMessage(heard.decoded);
  std::string& last = last_[std::string(SenderName(heard.sender)) + kind];
  if (last == words) return false;
  last = std::move(words);
  return true;
}

void Watcher::Hear(const bus::frame_t& frame) {
  const auto heard = decoder_.Accept(frame);
  if (!heard || !IsNews(*heard)) return;
  std::cout << (options_.json ? FormatJsonLine(*heard) : FormatWatchLine(*heard)) << '\n';
}

void Watcher::Summarise(std::uint64_t lost, const char* what) const {
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
            << "; requests without an answer: " << decoder_.Unanswered() << '\n';
}

void WatchLog(std::istream& in, Watcher& watcher) {
  LogReader reader(in);
  std::uint64_t frames = 0;
  while (const auto frame = reader.Next()) {
    watcher.Hear(*frame);
    ++frames;
  }
  watcher.Summarise(reader.Skipped(), " lines that are no frames");
  if (frames == 0) throw Failure("there is no frame in it; it should be a log of candump -L");
}

void WatchBus(const watch_options_t& options, Watcher& watcher) {
  constexpr int WAIT_MS = 100;
  const StopSignal stop;
  Station station(options.bus, stop);
  const auto end = Clock::now() + std::chrono::duration<double>(options.seconds.value_or(0));
  while (!stop.Stopped() && (!options.seconds || Clock::now() < end)) {
    bus::frame_t frame;
    if (station.Receive(frame, 0)) {
      watcher.Hear(frame);
      continue;
    }
    std::cout.flush();  // all that came is shown before it waits
    if (station.Receive(frame, WAIT_MS)) watcher.Hear(frame);
  }
  watcher.Summarise(station.Lost(), " lost because they came too fast");
}

}  // namespace

void Watch(const watch_options_t& options) {
  Watcher watcher(options);
  if (options.file.empty()) return WatchBus(options, watcher);
  if (options.file == "-") return WatchLog(std::cin, watcher);
  std::ifstream file(options.file);
  if (!file) throw Failure("cannot read " + options.file);
  WatchLog(file, watcher);
}

}  // namespace host
