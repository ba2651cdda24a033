#include "unit/program/service_manager.h"

#include <cstdlib>
#include <iostream>

#include <systemd/sd-daemon.h>

namespace unit {

ServiceManager::ServiceManager() : isThere_(std::getenv("NOTIFY_SOCKET") != nullptr) {
  std::uint64_t limit_us = 0;
  // Four feeds in each period, so that a busy machine may delay some.
  if (sd_watchdog_enabled(0, &limit_us) > 0) period_ = std::chrono::microseconds(limit_us / 4);
}

void ServiceManager::TellReady() {
  if (isReady_) return;
  isReady_ = true;
  sd_notify(0, "READY=1");
}

void ServiceManager::FeedWatchdog(const std::string& obstacle, Clock::time_point now) {
  if (period_ == Clock::duration::zero()) return;
  if (obstacle != told_) {
    told_ = obstacle;
    sd_notify(0, ("STATUS=" + obstacle).c_str());
    if (!obstacle.empty()) std::cerr << "unit: the watchdog is not fed: " + obstacle << std::endl;
  }
  if (!obstacle.empty() || now < nextFeed_) return;
  nextFeed_ = now + period_;
  sd_notify(0, "WATCHDOG=1");
}

void ServiceManager::TellStopping() const {
  sd_notify(0, "STOPPING=1");
}

}  // namespace unit
