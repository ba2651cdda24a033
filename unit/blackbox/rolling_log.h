// The black box: the last lines of a log on disk, for an engineer who looks into a fault.
//
// NAME.log has the newest lines, NAME.1.log the lines before them. The folder is $ORVIK_LOG_DIR, or blackbox/
// in the runtime directory. It stays after the unit's end, so that the lines before a crash can still be read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "unit/blackbox/line_writer.h"

namespace unit {

std::string BlackBoxFolder();
// The content of both files of a log, the older file first. A missing file counts as empty.
std::string ReadBlackBox(const std::string& name);
// The names of the logs that begin so, sorted.
std::vector<std::string> FindBlackBoxes(std::string_view prefix);

// Any thread. A thread of its own writes the files; no caller waits for the disk.
class RollingLog {
 public:
  // Writes two files of at most `bytes` each. The newest file of an earlier run becomes the older one. A log
  // that cannot be written is reported by LineWriter: the unit runs without it.
  RollingLog(const std::string& name, std::size_t bytes);
  // Adds a line, without its line end.
  void Write(std::string_view line) { writer_.Write(line); }
  // Adds a line after the time (seconds of the real-time clock) and a name: "1763740000.123456 unit ...".
  void WriteStamped(std::string_view name, std::string_view line);
  std::string Problem() const { return writer_.Problem(); }
  std::uint64_t Lost() const { return writer_.Lost(); }

 private:
  LineWriter writer_;
};

}  // namespace unit
