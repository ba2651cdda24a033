#include "unit/window/picture_rules.h"

#include <tuple>

#include <gmock/gmock.h>

#include "unit/screen/render/retained_picture.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

TEST(PictureRulesTest, ThePictureStandsWholeInTheMiddleOfAnyWindow) {
  const std::tuple<int, int, place_t> cases[] = {{640, 480, {0, 0, 640, 480}},
                                                 {1920, 1080, {240, 0, 1440, 1080}},
                                                 {480, 800, {0, 220, 480, 360}},
                                                 {641, 480, {0, 0, 640, 480}},
                                                 {2, 1, {0, 0, 1, 1}},
                                                 {1, 1, {0, 0, 1, 1}},
                                                 {0, 0, {0, 0, 1, 1}}};
  for (const auto& [width, height, place] : cases) {
    EXPECT_EQ(FitPicture(width, height), place) << width << " x " << height;
  }
}

TEST(PictureRulesTest, ThePictureIsAsBrightAsTheBacklightAndNeverBlack) {
  const std::tuple<bool, std::uint32_t, std::uint32_t, double> cases[] = {
      {false, 100, 10, 1},
      {true, 0, 10, 1},
      {true, 100, 0, 0.15},
      {true, 100, 60, 0.66},
      {true, 4'000'000'000, 1'000'000'000, 0.3625},
      {true, 100, 250, 1}};
  for (const auto& [enabled, period, duty, brightness] : cases) {
    board_view_t board;
    board.backlightEnabled = enabled;
    board.backlightPeriod = period;
    board.backlightDuty = duty;
    EXPECT_DOUBLE_EQ(PictureBrightness(board), brightness) << duty << " of " << period;
  }
}

constexpr const char* LAMPS = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 640 480">
<rect width="640" height="480"/><g data-flashing="1"><rect width="320" height="480" style="fill:#fff"/></g>
<rect x="320" width="320" height="480" fill="#fff" data-flashing="2"/></svg>)";

// The left lamp flashes once a second, the right lamp twice. Each period begins with the bright half.
TEST(PictureRulesTest, WhatFlashesIsDimInTheSecondHalfOfItsPeriod) {
  constexpr std::uint32_t LIGHT = 0xFFFFFF, DIM = 0x404040;
  RetainedPicture picture;
  const std::tuple<std::chrono::milliseconds, std::uint32_t, std::uint32_t> cases[] = {
      {0ms, LIGHT, LIGHT}, {249ms, LIGHT, LIGHT}, {250ms, LIGHT, DIM},
      {500ms, DIM, LIGHT}, {999ms, DIM, DIM},     {1000ms, LIGHT, LIGHT}};
  for (const auto& [time, left, right] : cases) {
    picture.Update(LAMPS, 4, 3, DimAt(time));
    const pixels_t& pixels = picture.Pixels();
    ASSERT_EQ(pixels.values.size(), 12U);
    EXPECT_EQ(pixels.values[4] & 0xFFFFFFU, left) << time.count();
    EXPECT_EQ(pixels.values[7] & 0xFFFFFFU, right) << time.count();
  }
}

}  // namespace
}  // namespace unit
