// The trace of the bus: from the J1939 service to the rows that the panel shows.
#include "unit/trace/bus_trace.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/protocol/send_plan.h"
#include "unit/trace/trace_sender.h"

namespace unit {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class BusTraceTest : public testing::Test {
 protected:
  // As the words of hx7 send.
  void Say(const std::string& word, std::uint64_t time_us = 0) {
    const std::vector<std::string> words = {word};
    for (const host::send_step_t& step : host::PlanSend(words, values_).steps) {
      for (bus::frame_t frame : step.frames) {
        frame.time_us = time_us;
        sender_.Note(frame, false);
      }
    }
  }
  void PassFrames(std::size_t count) {
    for (; count > 0; --count)
      sender_.Note({.identifier = 0x123, .extended = false, .length = 1, .data = {0xAB}}, false);
  }
  void Deliver() {
    for (const auto& message : sender_.Drain()) trace_.Accept(message);
  }
  json Ask(const trace_query_t& query = {}) { return json::parse(trace_.Answer(query)); }
  std::size_t RowsFor(const std::string& kind, const std::string& text) {
    return Ask(ReadTraceQuery("", "", kind, text, ""))["rows"].size();
  }

  TraceSender sender_;
  host::Cmd2Values values_;
  BusTrace trace_;
};

TEST_F(BusTraceTest, SaysMessagesAsWatchDoes) {
  Say("units=metric");
  Say("line1-left=HELLO");
  PassFrames(1);
  sender_.Note({.identifier = 0x123, .extended = false, .length = 1, .data = {0xCD}, .time_us = 5'250'000},
               true);
  Deliver();
  const json rows = Ask()["rows"];
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[0]["command"], "CMD7.11");
  EXPECT_EQ(rows[0]["words"], "units: metric");
  EXPECT_THAT(rows[1]["words"].get<std::string>(), HasSubstr("line1-left \"HELLO\""));
  EXPECT_EQ(rows[3], json({{"number", 5},
                           {"time", 5.25},
                           {"id", "123"},
                           {"data", "CD"},
                           {"direction", "tx"},
                           {"from", "other"},
                           {"command", ""},
                           {"words", ""}}));
}

TEST_F(BusTraceTest, FiltersByKindAndWords) {
  Say("units=metric");
  Say("line1-left=HELLO");  // two frames
  PassFrames(2);
  Deliver();
  const struct {
    const char *kind, *text;
    std::size_t rows;
  } cases[] = {{"", "", 4},       {"frames", "", 5},   {"host", "", 2},    {"display", "", 0},
               {"other", "", 2},  {"", "METRIC", 1},   {"", "hello", 1},   {"", "cmd7 units", 1},
               {"", "123 ab", 2}, {"", "18ff00d0", 2}, {"", "cmd7 ab", 0}, {"frames", "host", 3},
               {"", "  ", 4},     {"both", "", 2}};
  for (const auto& each : cases)
    EXPECT_EQ(RowsFor(each.kind, each.text), each.rows) << each.kind << '/' << each.text;
}

TEST_F(BusTraceTest, AnswersUpToATime) {
  EXPECT_EQ(Ask()["begins"], nullptr);
  Say("units=metric", 1'000'000);
  Say("line1-left=HELLO", 2'000'999);
  Deliver();
  const struct {
    const char* until;
    std::vector<std::string> commands;
  } cases[] = {{"", {"CMD7.11", "CMD5"}},
               {"2000", {"CMD7.11", "CMD5"}},
               {"1999", {"CMD7.11"}},
               {"1000", {"CMD7.11"}},
               {"999", {}}};
  for (const auto& [until, wanted] : cases) {
    const json answer = Ask(ReadTraceQuery("", until, "both", "", ""));
    std::vector<std::string> commands;
    for (const json& row : answer["rows"]) commands.push_back(row["command"]);
    EXPECT_EQ(commands, wanted) << until;
    EXPECT_EQ(answer["begins"], 1.0);
  }
}

// The trace decodes a block of 250 frames at a time.
TEST_F(BusTraceTest, SaysAMessageThatBeginsInAnEarlierBlock) {
  Say("units=metric");
  PassFrames(248);
  Say("line1-left=HELLO");  // frames 250 and 251
  Say("load=1000");
  Deliver();
  const json rows = Ask(ReadTraceQuery("", "", "host", "", ""))["rows"];
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_THAT(rows[1]["words"].get<std::string>(), HasSubstr("line1-left \"HELLO\""));
  EXPECT_THAT(rows[2]["words"].get<std::string>(), HasSubstr("load 1000 kgs"));
}

TEST_F(BusTraceTest, CountsWhatItPassesOver) {
  PassFrames(TraceSender::MOST_WAITING + 100);
  Deliver();
  EXPECT_EQ(Ask()["missed"], 0) << "the loss before the first report is not known";
  PassFrames(TraceSender::MOST_WAITING + 100);
  Deliver();
  EXPECT_EQ(Ask()["missed"], 100);
  json answer = Ask({.after = 4'096, .text = {}, .most = 10});
  EXPECT_EQ(answer["rows"].size(), 10U);
  EXPECT_EQ(answer["rows"][9]["number"], 8'192);
  EXPECT_EQ(answer["passed"], 4'096 - 10);
  EXPECT_EQ(Ask({.after = answer["next"], .text = {}})["rows"].size(), 0U);
  EXPECT_EQ(Ask({.after = 9'000'000, .text = {}})["rows"].size(), trace_query_t::MOST_ROWS)
      << "of an earlier run";

  for (int i = 0; i < 23; ++i) {
    PassFrames(TraceSender::MOST_WAITING);
    Deliver();
  }
  answer = Ask({.after = 8, .text = {}, .most = 0});
  EXPECT_EQ(answer["gone"], 10 * 250 - 8) << "the oldest blocks of the 102,400 frames";
  EXPECT_EQ(answer["passed"], 102'400 - 10 * 250);
}

TEST_F(BusTraceTest, WritesALogOfBothDirections) {
  sender_.Note({.identifier = 0x18FF00D0, .length = 2, .data = {1, 0xFE}, .time_us = 1'436'509'052'249'713},
               false);
  sender_.Note({.identifier = 0x18FF01D1, .length = 0, .data = {}, .time_us = 1'436'509'053'000'000}, true);
  Deliver();
  EXPECT_EQ(trace_.Log(), "(1436509052.249713) can0 18FF00D0#01FE\n(1436509053.000000) can0 18FF01D1#\n");
}

TEST_F(BusTraceTest, RefusesWhatIsNoQueryAndNoReport) {
  EXPECT_THROW(ReadTraceQuery("-1", "", "", "", ""), std::invalid_argument);
  EXPECT_THROW(ReadTraceQuery("", "1.5", "", "", ""), std::invalid_argument);
  EXPECT_THROW(ReadTraceQuery("", "", "some", "", ""), std::invalid_argument);
  EXPECT_THROW(ReadTraceQuery("", "", "", std::string(201, 'x'), ""), std::invalid_argument);
  EXPECT_EQ(ReadTraceQuery("", "", "", "", "100000").most, trace_query_t::MOST_ROWS);
  std::vector<std::uint8_t> message = WriteTraceReport({.first = 0, .frames = {traced_frame_t{}}});
  message[22] = 9;  // the record's length
  trace_.Accept(message);
  message.pop_back();
  trace_.Accept(message);
  EXPECT_EQ(Ask()["next"], 0);
}

}  // namespace
}  // namespace unit
