// The last lines of something, on disk: what an engineer wants to see after something went wrong.
//
// $RUNTIME/blackbox/NAME.log holds the newest lines and NAME.1.log those before. The folder stays after the
// unit's end, so that it can still be asked what happened before a crash.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

#include "base/descriptor.h"

namespace unit {

std::string BlackBoxFolder();
// The files of a log that are there, the older one first.
std::string ReadBlackBox(const std::string& name);

// Any thread.
class RollingLog {
 public:
  // Two files of `bytes` each at most. What an earlier run left becomes the older file. A log that cannot be
  // written is no reason not to run: it is reported once on standard error.
  RollingLog(std::string name, std::size_t bytes);
  // Adds a line; its end is added here.
  void Write(std::string_view line);
  // The same with the time (seconds of the real-time clock) and a name before it: "1763740000.123456 unit ...".
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
