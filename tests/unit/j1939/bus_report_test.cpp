#include "j1939/bus_report.h"

#include <nlohmann/json.hpp>

#include "gmock/gmock.h"
#include "services/nm_messages.h"

namespace unit {
namespace {

TEST(BusReportTest, TellsCountsAndTheLastFramesWhenSomethingChanged) {
  BusReport report("local", "can0");
  report.SetUp(true);
  report.Note(
      {.identifier = 0x18FF00D0, .extended = true, .length = 3, .data = {0, 1, 0xAB}, .time_us = 1'500'000},
      BusReport::Direction::kReceived);
  report.Note({.identifier = 0x7F, .extended = false, .length = 0, .data = {}, .time_us = 0},
              BusReport::Direction::kSent);
  report.NoteRefused();
  report.NoteDropped();
  const auto text = report.TakeIfChanged();
  ASSERT_TRUE(text);
  const nlohmann::json expected = nlohmann::json::parse(R"({"bus":"local","interface":"can0","state":"up",
    "received":1,"sent":1,"refused":1,"dropped":1,"identifiers":{"18FF00D0":1,"07F":1},
    "frames":[{"time":1.5,"id":"18FF00D0","data":"0001AB","direction":"rx"},
              {"time":0.0,"id":"07F","data":"","direction":"tx"}]})");
  EXPECT_EQ(nlohmann::json::parse(*text), expected);
  EXPECT_FALSE(report.TakeIfChanged());
  report.SetUp(true);
  EXPECT_FALSE(report.TakeIfChanged());
  report.SetUp(false);
  EXPECT_TRUE(report.TakeIfChanged());
}

TEST(BusReportTest, FitsAMessageHoweverBusyTheBusIs) {
  BusReport report("socketcan:can0", "can0");
  for (std::uint32_t i = 0; i < 100'000; ++i) {
    report.Note({.identifier = 0x18000000 + i % 1000,
                 .extended = true,
                 .length = 8,
                 .data = {},
                 .time_us = 1'795'268'564'384'496},
                BusReport::Direction::kReceived);
  }
  const auto text = report.TakeIfChanged();
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
