// The black box: the last lines of a log on disk, for an engineer who looks into a fault.
//
// $RUNTIME/blackbox/NAME.log has the newest lines, NAME.1.log the lines before them. The folder stays after the
// unit's end, so that the lines before a crash can still be read.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

#include "base/descriptor.h"

namespace unit {

std::string BlackBoxFolder();
// The content of both files of a log, the older file first. A missing file counts as empty.
std::string ReadBlackBox(const std::string& name);

// Any thread.
class RollingLog {
 public:
  // Writes two files of at most `bytes` each. The newest file of an earlier run becomes the older one. A log
  // that cannot be written is reported once on standard error and then does nothing: the unit runs without it.
  RollingLog(std::string name, std::size_t bytes);
  // Adds a line, without its line end.
  void Write(std::string_view line);
  // Adds a line after the time (seconds of the real-time clock) and a name: "1763740000.123456 unit ...".
  void WriteStamped(std::string_view name, std::string_view line);

 private:
  std::string Path(const char* suffix) const;
  void Begin();

  const std::string name_;
  const std::size_t most_;
  std::mutex mutex_;  // guards the two below
  base::Descriptor file_;
  std::size_t size_ = 0;
};

}  // namespace unit
