// What each service and worker last said of itself.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace unit {

// Any thread.
class HealthBook {
 public:
  using time_t = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds SILENT_AFTER{3};
  static constexpr std::size_t MAX_ENTRIES = 64;

  struct report_t {
    bool up = false;  // everything that was ever heard of is up and has been heard of lately
    std::string
        json;  // {"up":true,"services":[{"name":...,"up":...,"state":...,"detail":...,"counters":{...}}]}
  };

  // Takes a message of the health channel. What is no object with a name and a state is passed over.
  void Take(const std::string& message, time_t now);
  // `problem`, where it is not empty, makes the whole not up. Services not heard for SILENT_AFTER are "silent".
  report_t Report(const std::string& problem, time_t now) const;

 private:
  struct entry_t {
    std::string json;  // as it came
    bool up = false;
    time_t heard;
  };

  mutable std::mutex mutex_;  // guards entries_
  std::map<std::string, entry_t> entries_;
};

}  // namespace unit
