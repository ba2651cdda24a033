// What the J1939 service and the notification manager report of the host's values and of the application.
#pragma once

#include <chrono>
#include <optional>

#include "unit/hostwatch/host_report.h"

namespace unit {

// Not thread-safe; its owner locks it.
class HostFeed {
 public:
  using TimePoint = host_report_t::TimePoint;
  // After so long without a report the bus is not received, and no value of the host is known to be the last.
  static constexpr std::chrono::seconds SILENCE{2};

  // The screen service tells an application once a second which page is shown, and the application sends only
  // that page's numbers. Until so long after its start the numbers of the application before may stand there.
  static constexpr std::chrono::milliseconds START{1200};

  void Accept(const host_report_t& report, TimePoint now);
  // An application that was started shows values of its own until it has carried out the host's next ones.
  void NoteProgramStart(TimePoint at);

  bool IsBusReceived(TimePoint now) const { return reportedAt_ && now - *reportedAt_ <= SILENCE; }
  bool AreValuesFresh(TimePoint now) const;

 private:
  host_report_t report_;
  std::optional<TimePoint> reportedAt_;
  TimePoint programStart_{};
  std::optional<TimePoint> firstValues_;  // the first that were reported since then
};

}  // namespace unit
