#include "host/log/record.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "bus/log_lines.h"
#include "host/link/station.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

// The interface name for the log's lines: the kernel's, or the one bus name of a socketcand server.
std::string LogInterfaceName(const std::string& bus) {
  constexpr std::string_view KERNEL = "socketcan:";
  return bus.starts_with(KERNEL) ? bus.substr(KERNEL.size()) : "can0";
}

constexpr std::chrono::seconds FLUSH_PACE{1};
constexpr std::chrono::seconds DRAIN_LIMIT{2};
constexpr int WAIT_MS = 100;

class BusRecorder {
 public:
  BusRecorder(std::ostream& out, const record_options_t& options)
      : out_(out), options_(options), interface_(LogInterfaceName(options.bus)), station_(options.bus, stop_) {}

  void Run() {
    auto flush = Clock::now() + FLUSH_PACE;
    const auto end = Clock::now() + std::chrono::duration<double>(options_.seconds.value_or(0));
    while (!stop_.Stopped() && (!options_.seconds || Clock::now() < end)) {
      bus::frame_t frame;
      if (station_.Receive(frame, WAIT_MS)) Write(frame);
      if (Clock::now() < flush) continue;
      flush = Clock::now() + FLUSH_PACE;
      if (!out_.flush()) return;
    }
    Drain();
  }
  std::uint64_t Frames() const { return frames_; }
  std::uint64_t Lost() const { return station_.Lost(); }

 private:
  void Write(const bus::frame_t& frame) {
    out_ << bus::FormatLogLine(frame, interface_) << '\n';
    ++frames_;
  }

  // Frames that arrived before the stop belong in the log. The limit ends this on a bus that is never silent.
  void Drain() {
    const auto limit = Clock::now() + DRAIN_LIMIT;
    for (bus::frame_t frame; Clock::now() < limit && station_.ReceiveWaiting(frame);) Write(frame);
  }

  std::ostream& out_;
  const record_options_t& options_;
  const std::string interface_;
  const StopSignal stop_;
  Station station_;
  std::uint64_t frames_ = 0;
};

void OpenNew(const record_options_t& options, std::ofstream& file) {
  if (!options.force && std::filesystem::exists(options.file)) {
    throw UsageError(options.file + " exists already; name another file, or replace it with --force");
  }
  file.open(options.file);
  if (!file) throw Failure("cannot write " + options.file + "; is the folder there, and writable?");
}

}  // namespace

void Record(const record_options_t& options) {
  std::ofstream file;
  const bool toFile = options.file != "-";
  if (toFile) OpenNew(options, file);
  std::ostream& out = toFile ? file : std::cout;
  BusRecorder recorder(out, options);
  recorder.Run();
  if (!out.flush()) throw Failure("cannot write more to " + options.file + "; is the disk full?");
  std::cerr << "hx7: recorded " << recorder.Frames() << " frames";
  if (recorder.Lost() > 0) {
    std::cerr << ", lost " << recorder.Lost() << " that came faster than they could be written";
  }
  std::cerr << '\n';
}

}  // namespace host
