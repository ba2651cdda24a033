// Detects that a file of the screen design was written.
//
// It looks at the files' times instead of asking the kernel for notices: a process that watches through inotify
// and is killed can take many seconds to end on a busy machine, and nobody takes its place before it has.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <utility>

namespace unit {

// For one thread.
class DesignWatch {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds PERIOD{250};

  explicit DesignWatch(std::filesystem::path folder);

  // Whether files were written, added or removed since the last change reported. Looks at most once in PERIOD,
  // and reports a change when two looks in turn found the same, so that no half written file is read. A folder
  // that cannot be read counts as empty.
  bool Changed(TimePoint now);

 private:
  using listing_t = std::map<std::filesystem::path, std::pair<std::filesystem::file_time_type, std::uintmax_t>>;
  listing_t List() const;

  const std::filesystem::path folder_;
  listing_t reported_, last_;
  TimePoint nextLook_{};
};

}  // namespace unit
