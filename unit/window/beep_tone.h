// The beeper's tone as samples for a loudspeaker: a square wave at the frequency of the real beeper.
#pragma once

#include <span>

#include "unit/board/beeper_device.h"

namespace unit {

// For one thread.
class BeepTone {
 public:
  static constexpr int SAMPLE_RATE = 48'000;  // a second, one channel
  static constexpr int WAVE = SAMPLE_RATE / BeeperDevice::TONE_HERTZ;
  static constexpr float LEVEL = 0.06F;  // of 1; a square wave is loud

  // Writes the next samples: LEVEL or -LEVEL while the tone is on, 0 while it is off. A tone begins with a
  // complete wave.
  void Fill(std::span<float> samples, bool on);

 private:
  int position_ = 0;  // in the wave
};

}  // namespace unit
