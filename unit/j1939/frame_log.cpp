#include "unit/j1939/frame_log.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>

#include "bus/log_lines.h"

namespace unit {
namespace {

// For each of the two files: together some 300,000 frames, half an hour of a host's usual traffic.
constexpr std::size_t RECENT_BYTES = 8U << 20U;

}  // namespace

FrameLog::FrameLog(const std::string& file, std::string interface)
    : file_(file), interface_(std::move(interface)), recent_("bus", RECENT_BYTES) {
  if (file_.empty()) return;
  stream_.open(file_, std::ios::trunc);
  if (!stream_) {
    throw std::runtime_error("cannot write the log " + file_ + ": " + std::strerror(errno) +
                             "; choose another file with --record FILE");
  }
}

void FrameLog::Write(const bus::frame_t& frame) {
  const std::string line = bus::FormatLogLine(frame, interface_);
  recent_.Write(line);
  const std::lock_guard lock(mutex_);
  if (!stream_.is_open() || failed_) return;
  stream_ << line << '\n';
  if (!stream_) ReportFailure();
}

void FrameLog::Flush() {
  const std::lock_guard lock(mutex_);
  if (!stream_.is_open() || failed_) return;
  if (!stream_.flush()) ReportFailure();
}

void FrameLog::ReportFailure() {
  failed_ = true;
  std::cerr << "j1939: the log " << file_
            << " can no longer be written (is the disk full?); the bus runs on without it" << std::endl;
}

}  // namespace unit
