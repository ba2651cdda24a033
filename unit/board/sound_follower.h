// When the beeper is to sound: while the board's beeper does, and shortly for a beep that nobody saw.
//
// The outputs are looked at every 10 ms. A look that comes late (a busy machine) may find that a beep has begun
// and ended since the last one; the operator must hear it nevertheless.
#pragma once

#include <chrono>
#include <cstdint>

namespace unit {

class SoundFollower {
 public:
  using time_t = std::chrono::steady_clock::time_point;
  // As long as a key's click.
  static constexpr std::chrono::milliseconds SHORT{50};

  // `pulses` counts the times that the board's beeper began to sound, from 0.
  bool Follow(bool sounding, std::uint32_t pulses, time_t now);

 private:
  std::uint32_t pulses_ = 0;
  time_t soundUntil_{};
};

}  // namespace unit
