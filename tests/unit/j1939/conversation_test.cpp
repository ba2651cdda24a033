#include "j1939/conversation.h"

#include "gmock/gmock.h"

namespace unit {
namespace {

using std::chrono::milliseconds;

TEST(ConversationTest, AnswersAsSocketcandDoes) {
  struct {
    const char* message;
    const char* reply;
  } const conversation[] = {
      {"< send 123 0 >", "< error no bus open >"},
      {"< rawmode >", "< error no bus open >"},
      {"< open vcan7 >", "< error could not open bus >"},
      {"< open >", "< error could not open bus >"},
      {"< echo >", "< echo >"},
      {"< open can0 >", "< ok >"},
      {"< rawmode >", "< ok >"},
      {"<rawmode>", "< ok >"},
      {"< send 18FF00D0 2 1 ff >", ""},
      {"< send 18FF00D0 9 1 2 3 4 5 6 7 8 9 >", "< error not a frame >"},
      {"< send >", "< error not a frame >"},
      {"< statistics x >", "< error bad statistics interval >"},
      {"< statistics 500 >", ""},
      {"< subscribe 0 0 123 >", "< error unknown command >"},
      {"<>", "< error unknown command >"},
      {"< bcmmode >", "< ok >"},
  };
  Conversation station;
  for (const auto& line : conversation) EXPECT_EQ(station.Take(line.message).reply, line.reply) << line.message;
  EXPECT_EQ(station.Refused(), 9U);
}

TEST(ConversationTest, FramesAreWantedInRawModeOnly) {
  Conversation station;
  station.Take("< open can0 >");
  EXPECT_FALSE(station.WantsFrames());
  const auto outcome = station.Take("< send 123 1 7f >");
  ASSERT_TRUE(outcome.frame);
  EXPECT_EQ(outcome.frame->identifier, 0x123U);
  EXPECT_EQ(outcome.frame->data[0], 0x7F);
  station.Take("< rawmode >");
  EXPECT_TRUE(station.WantsFrames());
  station.Take("< bcmmode >");
  EXPECT_FALSE(station.WantsFrames());
}

TEST(ConversationTest, StatisticsComeNoOftenerThanTenTimesASecond) {
  Conversation station;
  station.Take("< open can0 >");
  for (const auto& [message, period] : {std::pair{"< statistics 1 >", milliseconds(100)},
                                        {"< statistics 250 >", milliseconds(250)},
                                        {"< statistics 0 >", milliseconds(0)}}) {
    station.Take(message);
    EXPECT_EQ(station.StatisticsPeriod(), period) << message;
  }
}

}  // namespace
}  // namespace unit
