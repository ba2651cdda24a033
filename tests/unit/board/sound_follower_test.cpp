#include "board/sound_follower.h"

#include <gtest/gtest.h>

namespace unit {
namespace {

TEST(SoundFollower, FollowsTheBeeperAndMakesUpForABeepBetweenTwoLooks) {
  struct look_t {
    int at_ms;
    bool sounding;
    std::uint32_t pulses;
    bool sounds;
  };
  SoundFollower follower;
  for (const look_t& look : {look_t{0, false, 0, false},
                             {10, true, 1, true},
                             {20, false, 1, false},  // a beep that was seen ends when it ends
                             {100, false, 2, true},  // one that was not is made up for
                             {149, false, 2, true},
                             {150, false, 2, false},
                             {200, true, 5, true},
                             {210, false, 5, false},
                             {300, false, 6, true},
                             {320, false, 8, true},  // another within
                             {369, false, 8, true},
                             {370, false, 8, false}}) {
    const SoundFollower::time_t now{std::chrono::milliseconds(look.at_ms)};
    EXPECT_EQ(follower.Follow(look.sounding, look.pulses, now), look.sounds) << look.at_ms;
  }
}

}  // namespace
}  // namespace unit
