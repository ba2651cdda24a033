#include "screen/message_reader.h"

#include <vector>

#include <gtest/gtest.h>

namespace unit {
namespace {

using bytes_t = std::vector<std::uint8_t>;

TEST(ScreenMessage, TextsCarryHandleAttributeAndText) {
  const bytes_t message{5, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, '1', '2', '.', '5', 0};
  const auto command = ReadScreenMessage(message);
  ASSERT_TRUE(command);
  EXPECT_EQ(command->target, 5);
  EXPECT_EQ(command->operation, SCREEN_SET_TEXT);
  EXPECT_EQ(command->number, 2U);
  EXPECT_EQ(command->text, "12.5");
}

TEST(ScreenMessage, MovesRotationsAndColours) {
  const auto move = ReadScreenMessage(bytes_t{7, 0, 0, 0, 1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 76, 0, 0, 0});
  ASSERT_TRUE(move);
  EXPECT_EQ(move->place, (std::array<std::int32_t, 2>{-1, 76}));
  const auto turn = ReadScreenMessage(
      bytes_t{7, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0xB4, 0x42, 0, 0, 0x80, 0x3F, 0, 0, 0, 0xC0});  // 90, 1, -2
  ASSERT_TRUE(turn);
  EXPECT_EQ(turn->parts, (std::array<float, 4>{90, 1, -2, 0}));
  const auto color = ReadScreenMessage(bytes_t{7,    0,    0, 0, 7, 0, 0, 0, 1, 0,    0, 0, 0,    0,
                                               0x80, 0x3F, 0, 0, 0, 0, 0, 0, 0, 0x3F, 0, 0, 0x80, 0x3F});
  ASSERT_TRUE(color);
  EXPECT_EQ(color->number, 1U);
  EXPECT_EQ(color->parts, (std::array<float, 4>{1, 0, 0.5, 1}));
}

struct malformed_t {
  const char* why;
  bytes_t message;
};

TEST(ScreenMessage, WhatIsNoWholeMessageIsRefused) {
  const std::vector<malformed_t> cases{
      {"empty", {}},
      {"shorter than its header", {1, 0, 0, 0, 4, 0, 0}},
      {"an operation that does not exist", {1, 0, 0, 0, 9, 0, 0, 0}},
      {"an operation beyond every table", {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}},
      {"a text without attribute", {1, 0, 0, 0, 0, 0, 0, 0}},
      {"a text without even its end", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"a text without its end", {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 'a'}},
      {"an attribute that does not exist", {1, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 'a', 0}},
      {"a move without y", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}},
      {"a move with more than y", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0}},
      {"a show with an argument", {1, 0, 0, 0, 5, 0, 0, 0, 1, 0, 0, 0}},
      {"a rotation by no number", {1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0xC0, 0x7F, 0, 0, 0, 0, 0, 0, 0, 0}},
      {"a colour of a part that does not exist",
       {1, 0, 0, 0, 7, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const auto& [why, message] : cases) EXPECT_FALSE(ReadScreenMessage(message)) << why;
  bytes_t longText(SCREEN_MESSAGE_SIZE + 1, 'a');
  std::fill_n(longText.begin(), 12, std::uint8_t{0});
  longText.back() = 0;
  EXPECT_FALSE(ReadScreenMessage(longText)) << "longer than any message";
}

}  // namespace
}  // namespace unit
