#include "unit/board/sound_follower.h"

namespace unit {

bool SoundFollower::Follow(bool sounding, std::uint32_t pulses, TimePoint now) {
  if (pulses != pulses_ && !sounding) soundUntil_ = now + SHORT;
  pulses_ = pulses;
  return sounding || now < soundUntil_;
}

}  // namespace unit
