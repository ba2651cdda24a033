#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "host/commands.h"
#include "host/errors.h"
#include "host/station.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// The name that the log's lines carry: that of the interface, or of the one bus that a socketcand server has.
std::string InterfaceOf(const std::string& bus) {
  constexpr std::string_view kKernel = "socketcan:";
  return bus.starts_with(kKernel) ? bus.substr(kKernel.size()) : "can0";
}

struct recorded_t {
  std::uint64_t frames = 0;
  std::uint64_t lost = 0;
};

recorded_t RecordTo(std::ostream& out, const record_options_t& options) {
  constexpr std::chrono::seconds kFlushPace{1};
  constexpr int kWait_ms = 100;
  const std::string interface = InterfaceOf(options.bus);
  const StopSignal stop;
  Station station(options.bus, stop);
  recorded_t recorded;
  auto flush = Clock::now() + kFlushPace;
  const auto end = Clock::now() + std::chrono::duration<double>(options.seconds.value_or(0));
  while (!stop.Stopped() && (!options.seconds || Clock::now() < end)) {
    bus::frame_t frame;
    if (station.Receive(frame, kWait_ms)) {
      out << bus::FormatLogLine(frame, interface) << '\n';
      ++recorded.frames;
    }
    if (Clock::now() < flush) continue;
    flush = Clock::now() + kFlushPace;
    if (!out.flush()) break;
  }
  recorded.lost = station.Lost();
  return recorded;
}

}  // namespace

void Record(const record_options_t& options) {
  std::ofstream file;
  const bool toFile = options.file != "-";
  if (toFile && !options.force && std::filesystem::exists(options.file)) {
    throw usage_error(options.file + " exists already; name another file, or replace it with --force");
  }
  if (toFile) file.open(options.file);
  if (toFile && !file) throw failure("cannot write " + options.file);
  std::ostream& out = toFile ? file : std::cout;
  const recorded_t recorded = RecordTo(out, options);
  if (!out.flush()) throw failure("cannot write " + options.file + " any further");
  std::cerr << "hx7: recorded " << recorded.frames << " frames";
  if (recorded.lost > 0)
    std::cerr << ", lost " << recorded.lost << " that came faster than they could be written";
  std::cerr << '\n';
}

}  // namespace host
