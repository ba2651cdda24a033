// Tells how long the application has given no sign of life although its process runs.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "unit/health/subscriber.h"

namespace unit {

// Follows what the notification manager reports: whether an application sends to the screen, and the heartbeats
// of its workers. Has the threads of a Subscriber. Without a manager nothing is known of the application.
class SilenceWatch {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  SilenceWatch();
  // Of an application whose process was started at `started`.
  std::chrono::steady_clock::duration SilentFor(TimePoint started) const;

 private:
  void Accept(std::size_t channel, std::span<const std::uint8_t> payload);
  void AcceptHealth(std::span<const std::uint8_t> payload, TimePoint now);

  mutable std::mutex mutex_;  // guards the three below
  bool isSending_ = false;
  std::optional<TimePoint> silentSince_;
  TimePoint lastReport_{};
  Subscriber subscriber_;  // last: its thread uses the others
};

}  // namespace unit
