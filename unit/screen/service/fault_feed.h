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
  // The J1939 service reports twice a second while it receives the bus. After so long without a report nothing
  // is known of the faults, and no value of the host is known to be the last.
  static constexpr std::chrono::seconds SILENCE{2};

  explicit FaultFeed(ScreenModel& model);

  void Take(const fault_report_t& report, TimePoint now);
  // Forgets the last report when it is older than SILENCE.
  void Expire(TimePoint now);
  bool IsBusReceived() const { return reported_; }

 private:
  void Show(const fault_report_t& report);

  ScreenModel& model_;
  TimePoint last_{};
  bool reported_ = false;
};

}  // namespace unit
