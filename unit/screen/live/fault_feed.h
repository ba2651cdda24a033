// Sets the screen's variables of the active faults from the J1939 service's reports.
#pragma once

#include <chrono>

#include "unit/faults/fault_report.h"
#include "unit/screen/design/screen_model.h"

namespace unit {

// Not thread-safe; its owner locks it together with the model.
class FaultFeed {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  // The J1939 service reports once a second. After so long without a report it does not run, and nothing is
  // known of the faults.
  static constexpr std::chrono::seconds SILENCE{5};

  explicit FaultFeed(ScreenModel& model);

  void Take(const fault_report_t& report, TimePoint now);
  // Forgets the last report when it is older than SILENCE.
  void Expire(TimePoint now);

 private:
  void Show(const fault_report_t& report);

  ScreenModel& model_;
  TimePoint last_{};
  bool reported_ = false;
};

}  // namespace unit
