// Follows the host's messages on the bus and says whether its operating values are fresh.
//
// The application keeps the last values for as long as the host sends anything at all. Numbers from before a
// lost link, of another unit system, or of a minute ago would stand as current.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>

#include "src/core/frame_layout.h"
#include "unit/hostwatch/host_report.h"

namespace unit {

// Any thread.
class HostWatch {
 public:
  using TimePoint = host_report_t::TimePoint;
  // Values become unknown when no new ones came for so long: the time after which the application misses the
  // host.
  static constexpr std::chrono::seconds LIFETIME{10};
  // From a message to its texts on the screen the application takes up to 40 ms. Values that were unknown are
  // fresh so long after the message.
  static constexpr std::chrono::milliseconds SETTLE{200};
  static constexpr std::chrono::milliseconds REPEAT{500};

  // Takes a frame of the host, eight bytes, in the order of the bus. True when the values become unknown: by a
  // change of units, or by a message that is too short for the values.
  bool Accept(std::span<const std::uint8_t> frame, TimePoint now);
  // The values become unknown: the application gets frames later than the bus had them.
  void ForgetValues();
  // Drops the message in progress: frames may be missing. Its values stay what they were.
  void ForgetMessage();

  host_report_t MakeReport(TimePoint now) const;
  // The report, when freshness has changed or the last one is REPEAT old.
  std::optional<host_report_t> TakeIfDue(TimePoint now);

 private:
  bool Join(std::span<const std::uint8_t> frame);
  bool Begin(std::span<const std::uint8_t> frame);
  void NoteValues(TimePoint now);
  bool NoteUnits(std::uint8_t units);
  bool IsFresh(TimePoint now) const;

  mutable std::mutex mutex_;                           // guards all below
  std::array<std::uint8_t, FIRST_FRAME_ROOM> head_{};  // of the message in progress: all that is looked at
  unsigned frames_ = 0;                                // of the message in progress; 0: none is
  unsigned next_ = 0;
  std::optional<std::uint8_t> units_;
  std::optional<TimePoint> knownSince_;  // empty: the values are unknown
  TimePoint valuesAt_{};
  host_report_t taken_;
  TimePoint takenAt_{};
};

}  // namespace unit
