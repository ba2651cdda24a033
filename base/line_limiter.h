// Reports what goes wrong often without flooding the terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace base {

// Counts occurrences and gives at most one line a second. Not thread-safe; its owner locks it.
class LineLimiter {
 public:
  using time_t = std::chrono::steady_clock::time_point;

  // `what` with how often it happened since the last line; empty while the second has not passed.
  std::optional<std::string> Note(const std::string& what, time_t now) {
    ++count_;
    if (now < next_) return {};
    next_ = now + std::chrono::seconds(1);
    std::string line = what;
    if (count_ > 1) line += " (" + std::to_string(count_) + " since the last report)";
    count_ = 0;
    return line;
  }

 private:
  std::uint64_t count_ = 0;
  time_t next_{};
};

}  // namespace base
