#include "unit/screen/live/host_feed.h"

#include "unit/hostwatch/host_watch.h"

namespace unit {

void HostFeed::Accept(const host_report_t& report, TimePoint now) {
  report_ = report;
  reportedAt_ = now;
  if (!firstValues_ && report.valuesAt > programStart_) firstValues_ = report.valuesAt;
}

void HostFeed::NoteProgramStart(TimePoint at) {
  programStart_ = at;
  firstValues_.reset();
}

bool HostFeed::AreValuesFresh(TimePoint now) const {
  return report_.areValuesFresh && firstValues_ && now - *firstValues_ >= HostWatch::SETTLE &&
         now - programStart_ >= START;
}

}  // namespace unit
