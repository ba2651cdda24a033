// The log of the bus in candump's form (candump -L), both directions: the whole of it in a file where one is
// wanted, and the last of it in the black box.
#pragma once

#include <fstream>
#include <mutex>
#include <string>

#include "bus/can_frame.h"
#include "unit/blackbox/rolling_log.h"

namespace unit {

// Any thread may call. A log that cannot be written any more is reported once; the bus goes on.
class FrameLog {
 public:
  // Empty `file`: the black box alone. Throws std::runtime_error when the file cannot be made.
  FrameLog(const std::string& file, std::string interface);
  void Write(const bus::frame_t& frame);
  // Hands what was written to the system.
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
