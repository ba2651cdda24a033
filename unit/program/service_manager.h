// What a run tells systemd where systemd has started it (Type=notify): that it is ready, that it lives, and
// what it waits for. Elsewhere nothing is sent.
#pragma once

#include <chrono>
#include <string>

namespace unit {

// For one thread.
class ServiceManager {
 public:
  using Clock = std::chrono::steady_clock;

  ServiceManager();
  // systemd has started this process and listens.
  bool IsThere() const { return isThere_; }
  // All parts of the run have come up. Only the first call is sent.
  void TellReady();
  // Called ten times a second. Feeds the watchdog of systemd where `obstacle` is empty; else tells systemd and
  // standard error once what is in the way, and systemd kills the process when its time is over.
  void FeedWatchdog(const std::string& obstacle, Clock::time_point now);
  void TellStopping() const;

 private:
  const bool isThere_;
  bool isReady_ = false;
  Clock::duration period_{};  // between two feeds; 0: no watchdog
  Clock::time_point nextFeed_{};
  std::string told_;  // the obstacle that was told last
};

}  // namespace unit
