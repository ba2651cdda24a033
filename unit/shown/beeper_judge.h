// Names what the operator hears: silence, one beep, pulses or a steady sound.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace unit {

// Not thread-safe; its owner locks it.
class BeeperJudge {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  // Two beeps further apart are no pulses. The host's slowest pulse comes every 5 s and counts as single beeps.
  static constexpr std::chrono::milliseconds LONGEST_PERIOD{3000};
  static constexpr std::chrono::milliseconds STEADY_AFTER{1000};
  static constexpr std::chrono::milliseconds BEEP_HEARD{300};  // after its end, so that a slow reader sees it
  static constexpr std::chrono::milliseconds TOLERANCE{100};   // of the board's messages

  // Takes a reading of the board, in the order of time. `pulses` counts how often the beeper began to sound.
  void Note(bool sounding, std::uint32_t pulses, TimePoint now);
  // One of expect::BEEPER_NAMES.
  std::string_view Judge(TimePoint now) const;

 private:
  void NoteStart(std::uint32_t pulses, TimePoint now);
  bool IsPulsing(TimePoint now) const;

  std::optional<std::uint32_t> pulses_;  // of the last reading
  bool sounding_ = false;
  std::optional<TimePoint> started_, startedBefore_;  // the last two beeps
  TimePoint ended_{};
};

}  // namespace unit
