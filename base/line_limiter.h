// Limits how often a fault that repeats is reported.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace base {

// Counts a fault and lets at most one line a second through. Any thread.
class LineLimiter {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  // Call it each time that the fault occurs. Returns the line to print, with the number of faults since the
  // last line where there was more than one; nothing within a second of the last line.
  std::optional<std::string> Note(const std::string& what, TimePoint now) {
    const std::lock_guard lock(mutex_);
    ++count_;
    if (now < next_) return {};
    next_ = now + std::chrono::seconds(1);
    std::string line = what;
    if (count_ > 1) line += " (" + std::to_string(count_) + " since the last report)";
    count_ = 0;
    return line;
  }

 private:
  std::mutex mutex_;  // guards the two below
  std::uint64_t count_ = 0;
  TimePoint next_{};
};

}  // namespace base
