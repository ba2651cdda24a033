// The beeper's tone as samples for a loudspeaker: a square wave of the pitch that the real beeper has.
#pragma once

#include <span>

#include "unit/board/beeper_device.h"

namespace unit {

// One thread.
class BeepTone {
 public:
  static constexpr int SAMPLE_RATE = 48'000;  // a second, one channel
  static constexpr int WAVE = SAMPLE_RATE / BeeperDevice::TONE_HERTZ;
  static constexpr float LEVEL = 0.06F;  // of 1; a square wave is loud

  // The next samples, each LEVEL, -LEVEL or, while it is off, 0. A tone begins with a whole wave.
  void Fill(std::span<float> samples, bool on);

 private:
  int position_ = 0;  // in the wave
};

}  // namespace unit
