// The parts of the J1939 service that need no bus: requests, the stations' conversation, pacing and the report.
#include <vector>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "src/hostlink/j1939_external.h"
#include "src/services/nm_messages.h"
#include "tests/support/bytes.h"
#include "unit/j1939/bus_report.h"
#include "unit/j1939/j1939_requests.h"
#include "unit/j1939/pacing.h"
#include "unit/j1939/socketcand_session.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

// The first bytes of a message, which is zero from there up to `size`, and the name behind it.
bytes_t Message(std::initializer_list<std::uint8_t> words, const std::string& name = "",
                std::size_t size = 1808) {
  bytes_t message(words);
  message.resize(size);
  message.insert(message.end(), name.begin(), name.end());
  return message;
}

TEST(J1939RequestsTest, TheTypeTellsWhatItIsFor) {
  constexpr std::array<reach_t, 7> REACHES = {reach_t::STANDARD,    reach_t::STANDARD,    reach_t::STANDARD,
                                              reach_t::MULTIPACKET, reach_t::MULTIPACKET, reach_t::FASTPACKET,
                                              reach_t::FASTPACKET};
  for (std::uint8_t type = 0; type < std::uint8_t{REACHES.size()}; ++type) {
    SCOPED_TRACE(int{type});
    const bool isFilter = type == 0 || type == 3 || type == 5;
    const std::uint8_t length = isFilter ? 0x11 : 0x10;  // 1808 and the name
    const bytes_t message = Message({type, 0, 0, 0, length, 7, 0, 0, 1}, isFilter ? "x" : "");
    const j1939_request_t request = ReadRequest(message);
    ASSERT_EQ(request.index(), isFilter ? 0U : 1U);
    EXPECT_EQ(isFilter ? std::get<0>(request).reach : std::get<1>(request).reach, REACHES[type]);
  }
}

TEST(J1939RequestsTest, AMalformedRequestIsRefused) {
  const std::pair<const char*, bytes_t> cases[] = {
      {"empty", {}},
      {"cut in its header", bytes_t(19)},
      {"type 7", Message({7, 0, 0, 0, 0, 0, 0, 0, 1})},
      {"port 0", Message({2})},
      {"port 2", Message({2, 0, 0, 0, 0, 0, 0, 0, 2})},
      {"30-bit identifier", Message({2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0x20})},
      {"9 bytes in a frame", Message({2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9})},
      {"1786 bytes in a message", Message({4, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0xFA, 6})},
      {"4294967295 bytes", Message({4, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255})},
      {"less data than announced", Message({2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 8}, "", 27)},
      {"length that is not the size", Message({2, 0, 0, 0, 0, 1, 0, 0, 1})},
      {"longer than a message", Message({2, 0, 0, 0, 0, 0, 0, 0, 1}, "x")},
      {"filter without a name", Message({0, 0, 0, 0, 0x10, 7, 0, 0, 1})},
      {"filter with a wrong length", Message({0, 0, 0, 0, 0x10, 7, 0, 0, 1}, "x")},
      {"filter with a zero in its name", Message({0, 0, 0, 0, 0x12, 7, 0, 0, 1}, std::string("x\0", 2))},
      {"filter with a name of 128 bytes", Message({0, 0, 0, 0, 0x90, 7, 0, 0, 1}, std::string(128, 'x'))},
  };
  for (const auto& [what, message] : cases) {
    EXPECT_TRUE(std::holds_alternative<refused_request_t>(ReadRequest(message))) << what;
  }
}

TEST(ConversationTest, AnswersAsSocketcandDoes) {
  const std::pair<const char*, const char*> conversation[] = {
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
  SocketcandSession station;
  for (const auto& [message, reply] : conversation) EXPECT_EQ(station.Accept(message).reply, reply) << message;
  EXPECT_EQ(station.Refused(), 9U);
}

TEST(ConversationTest, AStationOpensTheBusWithItsTokenOnly) {
  constexpr const char* TOKEN = "0123456789abcdef";
  const std::tuple<const char*, const char*, bool> firstMessages[] = {
      {"< open can0 >", "< error token required >", true},
      {"< token >", "< error wrong token >", true},
      {"< token 0123456789abcdeg >", "< error wrong token >", true},
      {"< token 0123456789abcdef0 >", "< error wrong token >", true},
      {"< send 123 0 >", "< error no bus open >", false},
      {"< token 0123456789abcdef >", "< ok >", false},
  };
  for (const auto& [message, reply, ends] : firstMessages) {
    SocketcandSession station(TOKEN);
    const auto outcome = station.Accept(message);
    EXPECT_EQ(outcome.reply, reply) << message;
    EXPECT_EQ(outcome.ends, ends) << message;
    EXPECT_FALSE(outcome.frame) << message;
    const bool opens = station.Accept("< open can0 >").reply == "< ok >";
    EXPECT_EQ(opens, std::string_view(reply) == "< ok >") << message;
  }
}

TEST(ConversationTest, FramesAreWantedInRawModeOnly) {
  SocketcandSession station;
  station.Accept("< open can0 >");
  EXPECT_FALSE(station.WantsFrames());
  const auto outcome = station.Accept("< send 123 1 7f >");
  ASSERT_TRUE(outcome.frame);
  EXPECT_EQ(outcome.frame->identifier, 0x123U);
  EXPECT_EQ(outcome.frame->data[0], 0x7F);
  station.Accept("< rawmode >");
  EXPECT_TRUE(station.WantsFrames());
  station.Accept("< bcmmode >");
  EXPECT_FALSE(station.WantsFrames());
}

TEST(ConversationTest, StatisticsComeNoOftenerThanTenTimesASecond) {
  SocketcandSession station;
  station.Accept("< open can0 >");
  for (const auto& [message, period] :
       {std::pair{"< statistics 1 >", 100ms}, {"< statistics 250 >", 250ms}, {"< statistics 0 >", 0ms}}) {
    station.Accept(message);
    EXPECT_EQ(station.StatisticsPeriod(), period) << message;
  }
}

TEST(PacingTest, TheBusSlowsDownAsTheRoomGoesToItsEnd) {
  Pacing pacing;
  const std::pair<int, std::chrono::milliseconds> cases[] = {{4096, 0ms}, {512, 0ms}, {511, 1ms}, {256, 1ms},
                                                             {255, 4ms},  {63, 32ms}, {1, 250ms}, {-1, 0ms}};
  for (const auto& [room, pause] : cases) EXPECT_EQ(pacing.PauseAfter(room), pause) << room;
}

TEST(PacingTest, ASubscriberThatHasStoppedHoldsTheBusForSecondsAndNotForEver) {
  Pacing pacing;
  std::chrono::milliseconds held{0};
  for (int room = Pacing::ENOUGH_ROOM; room >= 0; --room) held += pacing.PauseAfter(room);
  EXPECT_GT(held, 5s);
  EXPECT_LT(held, 10s);
  EXPECT_EQ(pacing.PauseAfter(0), 0ms) << "the service gives up waiting";
  EXPECT_EQ(pacing.PauseAfter(1), 250ms) << "the subscriber reads again";
  EXPECT_EQ(pacing.PauseAfter(0), Pacing::LONGEST);
}

TEST(BusReportTest, TellsCountsAndTheLastFramesWhenSomethingChanged) {
  BusReport report("local", "can0");
  report.SetUp(true);
  report.Note(
      {.identifier = 0x18FF00D0, .extended = true, .length = 3, .data = {0, 1, 0xAB}, .time_us = 1'500'000},
      BusReport::direction_t::RECEIVED);
  report.Note({.identifier = 0x7F, .extended = false, .length = 0, .data = {}, .time_us = 0},
              BusReport::direction_t::SENT);
  report.NoteRefused();
  report.NoteDropped();
  report.NoteShort();
  const auto text = report.DrainIfChanged();
  ASSERT_TRUE(text);
  const nlohmann::json expected = nlohmann::json::parse(R"({"bus":"local","interface":"can0","state":"up",
    "received":1,"sent":1,"refused":1,"dropped":1,"short":1,"identifiers":{"18FF00D0":1,"07F":1},
    "frames":[{"time":1.5,"id":"18FF00D0","data":"0001AB","direction":"rx"},
              {"time":0.0,"id":"07F","data":"","direction":"tx"}]})");
  EXPECT_EQ(nlohmann::json::parse(*text), expected);
  EXPECT_FALSE(report.DrainIfChanged());
  report.SetUp(true);
  EXPECT_FALSE(report.DrainIfChanged());
  report.SetUp(false);
  EXPECT_TRUE(report.DrainIfChanged());
}

TEST(BusReportTest, FitsAMessageHoweverBusyTheBusIs) {
  BusReport report("socketcan:can0", "can0");
  for (std::uint32_t i = 0; i < 100'000; ++i) {
    const bus::frame_t frame{
        .identifier = 0x18000000 + i % 1000, .length = 8, .time_us = 1'795'268'564'384'496};
    report.Note(frame, BusReport::direction_t::RECEIVED);
  }
  const auto text = report.DrainIfChanged();
  ASSERT_TRUE(text);
  EXPECT_LT(text->size(), NM_PAYLOAD_SIZE);
  const auto json = nlohmann::json::parse(*text);
  EXPECT_EQ(json["frames"].size(), BusReport::LAST_FRAMES);
  EXPECT_EQ(json["identifiers"].size(), BusReport::MAX_IDENTIFIERS);
  EXPECT_EQ(json["received"], 100'000);
  EXPECT_EQ(json["frames"].back()["id"], "180003E7");
}

}  // namespace
}  // namespace unit
