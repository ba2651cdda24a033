#include "unit/window/picture_rules.h"

#include <array>

#include <gmock/gmock.h>

#include "unit/screen/render/renderer.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

struct fit_case_t {
  int width, height;
  place_t place;
};

TEST(PictureRulesTest, ThePictureStandsWholeInTheMiddleOfAnyWindow) {
  const std::array<fit_case_t, 7> cases = {{{640, 480, {0, 0, 640, 480}},
                                            {1920, 1080, {240, 0, 1440, 1080}},
                                            {480, 800, {0, 220, 480, 360}},
                                            {641, 480, {0, 0, 640, 480}},
                                            {2, 1, {0, 0, 1, 1}},
                                            {1, 1, {0, 0, 1, 1}},
                                            {0, 0, {0, 0, 1, 1}}}};
  for (const fit_case_t& each : cases) {
    EXPECT_EQ(FitPicture(each.width, each.height), each.place) << each.width << " x " << each.height;
  }
}

TEST(PictureRulesTest, ThePictureIsAsBrightAsTheBacklightAndNeverBlack) {
  struct case_t {
    bool enabled;
    std::uint32_t period, duty;
    double brightness;
  };
  const std::array<case_t, 6> cases = {{{false, 100, 10, 1},
                                        {true, 0, 10, 1},
                                        {true, 100, 0, 0.15},
                                        {true, 100, 60, 0.66},
                                        {true, 4'000'000'000, 1'000'000'000, 0.3625},
                                        {true, 100, 250, 1}}};
  for (const case_t& each : cases) {
    board_view_t board;
    board.backlightEnabled = each.enabled;
    board.backlightPeriod = each.period;
    board.backlightDuty = each.duty;
    EXPECT_DOUBLE_EQ(PictureBrightness(board), each.brightness) << each.duty << " of " << each.period;
  }
}

constexpr const char* LAMPS = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 640 480">
<rect width="640" height="480"/><g data-flashing="1"><rect width="320" height="480" style="fill:#fff"/></g>
<rect x="320" width="320" height="480" fill="#fff" data-flashing="2"/></svg>)";

// The left lamp flashes once a second, the right one twice; each is light first.
TEST(PictureRulesTest, WhatFlashesIsDimInTheSecondHalfOfItsPeriod) {
  struct case_t {
    std::chrono::milliseconds time;
    std::uint32_t left, right;
  };
  constexpr std::uint32_t LIGHT = 0xFFFFFF, DIM = 0x404040;
  const std::array<case_t, 6> cases = {{{0ms, LIGHT, LIGHT},
                                        {249ms, LIGHT, LIGHT},
                                        {250ms, LIGHT, DIM},
                                        {500ms, DIM, LIGHT},
                                        {999ms, DIM, DIM},
                                        {1000ms, LIGHT, LIGHT}}};
  for (const case_t& each : cases) {
    const pixels_t pixels = RenderPixels(LAMPS, 4, 3, FlashStyle(LAMPS, each.time));
    ASSERT_EQ(pixels.values.size(), 12U);
    EXPECT_EQ(pixels.values[4] & 0xFFFFFFU, each.left) << each.time.count();
    EXPECT_EQ(pixels.values[7] & 0xFFFFFFU, each.right) << each.time.count();
  }
  EXPECT_EQ(FlashStyle("<svg/>", 999ms), "");
}

}  // namespace
}  // namespace unit
