// Decides when the beeper sounds: while the register of the board is on, and briefly for a beep between two
// readings.
//
// The register is read every 10 ms. On a busy machine a reading may come late, after a whole beep has begun and
// ended; the operator must hear that beep too.
#pragma once

#include <chrono>
#include <cstdint>

namespace unit {

class SoundFollower {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  // The length of a key's click.
  static constexpr std::chrono::milliseconds SHORT{50};

  // `pulses` counts how often the board's beeper began to sound. True when the beeper is to sound.
  bool Follow(bool sounding, std::uint32_t pulses, TimePoint now);

 private:
  std::uint32_t pulses_ = 0;
  TimePoint soundUntil_{};
};

}  // namespace unit
