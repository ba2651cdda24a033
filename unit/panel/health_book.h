// The last reported state of each service and worker.
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
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds SILENT_AFTER{3};
  static constexpr std::size_t MAX_ENTRIES = 64;

  struct report_t {
    bool up = false;  // every service that has ever reported is up and not silent
    // {"up":true,"services":[{"name":...,"up":...,"state":...,"detail":...,"counters":{...}}]}
    std::string json;
  };

  // Takes a message of the health channel. Ignores one that is not an object with a name and a state. True when
  // a service is new, came up or went down.
  bool Accept(const std::string& message, TimePoint now);
  // A `problem` that is not empty makes the whole report not up. A service without a report for SILENT_AFTER is
  // "silent".
  report_t Report(const std::string& problem, TimePoint now) const;

 private:
  struct service_report_t {
    std::string json;  // as received
    bool up = false;
    TimePoint heard;
  };

  mutable std::mutex mutex_;  // guards entries_
  std::map<std::string, service_report_t> entries_;
};

}  // namespace unit
