#include "unit/window/beep_tone.h"

#include <algorithm>

namespace unit {

static_assert(BeepTone::WAVE % 2 == 0 && BeepTone::WAVE * BeeperDevice::TONE_HERTZ == BeepTone::SAMPLE_RATE,
              "the two halves of a wave are equal, and a second has a whole number of waves");

void BeepTone::Fill(std::span<float> samples, bool on) {
  if (!on) {
    std::ranges::fill(samples, 0.0F);
    position_ = 0;
    return;
  }
  for (float& sample : samples) {
    sample = position_ < WAVE / 2 ? LEVEL : -LEVEL;
    position_ = (position_ + 1) % WAVE;
  }
}

}  // namespace unit
