// The log of the bus in candump's form (candump -L), both directions: all frames in a file where one is named,
// the last frames in the black box.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "bus/can_frame.h"
#include "unit/blackbox/line_writer.h"
#include "unit/blackbox/rolling_log.h"

namespace unit {

// Any thread. No call waits for a file: threads of their own write them. A file that cannot be written (disk
// full, FIFO without a reader) is tried again until the end, and holds up nothing meanwhile.
class FrameLog {
 public:
  // With an empty `file`, writes the black box only. Throws std::runtime_error when the file cannot be made.
  FrameLog(const std::string& file, std::string interface);
  void Write(const bus::frame_t& frame);
  // Which of the files is not written now, and why; empty where all are.
  std::string Problem() const;
  // "record.lost", "blackbox.lost": lines that are in no file.
  std::map<std::string, std::uint64_t> Counters() const;

 private:
  const std::string interface_;
  RollingLog recent_;
  std::optional<LineWriter> record_;
};

}  // namespace unit
