// The log of the bus in candump's form (candump -L), both directions: all frames in a file where one is named,
// the last frames in the black box.
#pragma once

#include <fstream>
#include <mutex>
#include <string>

#include "bus/can_frame.h"
#include "unit/blackbox/rolling_log.h"

namespace unit {

// Any thread. A log that can no longer be written is reported once; the service runs on.
class FrameLog {
 public:
  // With an empty `file`, writes the black box only. Throws std::runtime_error when the file cannot be made.
  FrameLog(const std::string& file, std::string interface);
  void Write(const bus::frame_t& frame);
  // Writes the buffered lines to the file.
  void Flush();

 private:
  void ReportFailure();

  const std::string file_;
  const std::string interface_;
  RollingLog recent_;
  std::mutex mutex_;  // guards the two below
  std::ofstream stream_;
  bool failed_ = false;
};

}  // namespace unit
