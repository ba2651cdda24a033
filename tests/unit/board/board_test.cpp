// The key map of an input device, the brightness, and the sound that follows the beeper's pulses.
#include <set>
#include <sstream>
#include <stdexcept>
#include <tuple>

#include <gmock/gmock.h>

#include "unit/board/kernel_backlight.h"
#include "unit/board/key_map.h"
#include "unit/board/sound_follower.h"

namespace unit {
namespace {

using testing::HasSubstr;

KeyMap Parse(const std::string& text) {
  std::istringstream stream(text);
  return KeyMap::Parse(stream, "keys");
}

TEST(KeyMapTest, TakesNamesNumbersAndComments) {
  const KeyMap map = Parse("# the left edge\nKEY_F1 1\n\n  0x23f\t3 # odd\r\nBTN_0 8\n30 1");
  for (const auto& [code, key] : {std::pair{59U, 1}, {0x23FU, 3}, {0x100U, 8}, {30U, 1}, {60U, 0}}) {
    EXPECT_EQ(map.FrontKey(code), key) << code;
  }
}

TEST(KeyMapTest, HoldsAFrontKeyUntilTheLastKeyThatMeansItGoesUp) {
  const KeyMap map = Parse("30 1\n31 1\n32 8\n");
  const std::tuple<const char*, std::set<unsigned>, std::uint32_t> cases[] = {
      {"no key", {}, 0x00},
      {"both keys of front key 1", {30, 31}, 0x01},
      {"one of them", {31}, 0x01},
      {"two front keys and a key that is not mapped", {31, 32, 33}, 0x81},
      {"a key that is not mapped", {33}, 0x00}};
  for (const auto& [name, down, held] : cases) {
    EXPECT_EQ(map.Held([&down = down](unsigned code) { return down.contains(code); }), held) << name;
  }
}

TEST(KeyMapTest, NamesTheFaultyLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"KEY_F1 1\nKEY_F2\n", "line 2: a line has a key and its front key"},
      {"KEY_F1 1 2\n", "line 1: a line has a key and its front key"},
      {"KEY_F99 1\n", "\"KEY_F99\" is no key"},
      {"EV_KEY 1\n", "\"EV_KEY\" is no key"},
      {"0 1\n", "\"0\" is no key"},
      {"0x300 1\n", "\"0x300\" is no key"},
      {"-1 1\n", "\"-1\" is no key"},
      {"30x 1\n", "\"30x\" is no key"},
      {"99999999999999999999 1\n", "is no key"},
      {"KEY_F1 0\n", "\"0\" is no front key"},
      {"KEY_F1 9\n", "\"9\" is no front key"},
      {"KEY_F1 4294967297\n", "is no front key"},
      {"KEY_F1 1\n59 2\n", "line 2: 59 is in the file a second time"},
      {"# nothing\n", "keys names no key"}};
  for (const auto& [text, fault] : cases) {
    EXPECT_THAT([text = text] { Parse(text); }, testing::ThrowsMessage<std::runtime_error>(HasSubstr(fault)))
        << text;
  }
}

TEST(BrightnessTest, IsTheShareRoundedAndNeverDarkByRounding) {
  const std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t> cases[] = {
      {255, 100, 100, 255}, {255, 100, 50, 128},  {255, 100, 0, 0},
      {7, 100, 1, 1},       {7, 100, 64, 4},      {7, 100, 65, 5},
      {1, 100, 5, 1},       {255, 100, 250, 255}, {4'294'967'295, 4'294'967'295, 4'294'967'294, 4'294'967'294},
      {255, 0, 5, 0}};
  for (const auto& [most, period, duty, brightness] : cases) {
    EXPECT_EQ(Brightness(most, period, duty), brightness) << most << ' ' << duty << '/' << period;
  }
}

TEST(SoundFollowerTest, FollowsTheBeeperAndMakesUpForABeepBetweenTwoLooks) {
  SoundFollower follower;
  for (const auto& [at_ms, sounding, pulses, sounds] :
       {std::tuple<int, bool, std::uint32_t, bool>{0, false, 0, false},
        {10, true, 1, true},
        {20, false, 1, false},  // the follower saw this beep, and ends with it
        {100, false, 2, true},  // it missed this beep between two looks, and sounds for 50 ms
        {149, false, 2, true},
        {150, false, 2, false},
        {200, true, 5, true},
        {210, false, 5, false},
        {300, false, 6, true},
        {320, false, 8, true},  // further beeps within these do not lengthen them
        {369, false, 8, true},
        {370, false, 8, false}}) {
    const SoundFollower::TimePoint now{std::chrono::milliseconds(at_ms)};
    EXPECT_EQ(follower.Follow(sounding, pulses, now), sounds) << at_ms;
  }
}

}  // namespace
}  // namespace unit
