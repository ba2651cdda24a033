// The history of a unit: bounded, and each chunk begins with the whole screen.
#include "unit/history/history.h"

#include <random>
#include <string>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

namespace unit {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;

// A screen service that answers with the state that the test sets, and a clock that the test moves.
class HistoryTest : public testing::Test {
 protected:
  void Pass(std::chrono::milliseconds time) { now_ += time; }
  void Change(json change) {
    change.update({{"previous", revision_}, {"revision", revision_ + 1}});
    ++revision_;
    history_.AcceptScreen(change.dump());
  }
  void Show(double load) {
    Change({{"page", false},
            {"elements", {{{"id", "load"}, {"attributes", json::object()}, {"content", std::to_string(load)}}}},
            {"variables", {{"OrvikLoad", load}, {"OrvikOverload", load > 1000 ? 1.0 : 0.0}}},
            {"widgets", json::object()}});
  }
  json Overview(std::int64_t after_ms = 0) { return json::parse(history_.Overview(after_ms)); }
  json Screens(std::uint64_t number) { return json::parse(history_.Screens(number), nullptr, false); }

  bool answers_ = true;
  std::string page_ = "Main", units_ = "feet";
  std::uint64_t revision_ = 7;
  History::TimePoint now_{100s};
  History history_{[this](std::string& state) {
                     state = json({{"revision", revision_},
                                   {"page", page_},
                                   {"title", "OPERATING"},
                                   {"svg", "<svg page='" + page_ + "'/>"},
                                   {"widgets", {{"orvikTextWidgetUnitsDistance", units_}}},
                                   {"variables", {{"Screen.DataState", 1.0}, {"OrvikLoad", 500.0}}}})
                                 .dump();
                     return answers_;
                   },
                   [this] { return now_; }};
};

TEST_F(HistoryTest, EachMinuteBeginsWithTheWholeScreen) {
  Show(600);
  Pass(1s);
  Show(700);
  for (int i = 0; i < 30; ++i) {
    Pass(2s);
    Show(800 + i);
  }
  page_ = "Wad";
  Change({{"page", true}});
  const json first = Screens(0), second = Screens(1);
  EXPECT_EQ(first["start"]["svg"], "<svg page='Main'/>");
  EXPECT_EQ(first["changes"][0], json::parse(R"([1000,{"elements":[["load",{},"700.000000"]]}])"));
  EXPECT_EQ(second["begin"], first["end"]);
  EXPECT_EQ(second["start"]["page"], "Main");
  EXPECT_EQ(second["changes"].back()[1]["svg"], "<svg page='Wad'/>");
  const json overview = Overview();
  EXPECT_EQ(overview["screens"], json::parse(R"([{"number":0,"begin":0},{"number":1,"begin":61000}])"));
  EXPECT_EQ(overview["bands"]["page"], json::parse(R"([[0,61000,"Main"],[61000,61000,"Wad"]])"));
  EXPECT_EQ(overview["curves"]["highest"]["load"][1], 700);
  EXPECT_EQ(Overview(59000)["curves"]["times"], json::parse("[59000,61000]"));
  EXPECT_TRUE(history_.Screens(2).empty());
}

TEST_F(HistoryTest, ALostMessageAndASilentServiceAreNoOldScreen) {
  Show(600);
  ++revision_;  // a message that did not arrive
  Show(700);
  EXPECT_EQ(Screens(0)["changes"][0][1]["page"], "Main");
  Pass(5s);
  EXPECT_EQ(Screens(0)["changes"].back(), json::parse(R"([2000,{"page":null}])"));
  EXPECT_EQ(Overview()["bands"]["page"], json::parse(R"([[0,2000,"Main"]])"));
  EXPECT_EQ(Overview()["curves"]["lowest"]["load"].back(), nullptr);
  answers_ = false;
  Show(800);
  EXPECT_EQ(Screens(0)["changes"].back()[1]["page"], nullptr);
  answers_ = true;
  Show(900);
  EXPECT_EQ(Screens(0)["changes"].back()[1]["page"], "Main");
}

// A reader that is behind finds them in its queue after it has asked for the whole screen.
TEST_F(HistoryTest, MessagesThatTheScreenContainsAlreadyAddNothing) {
  Show(600);
  revision_ += 3;
  for (const std::uint64_t revision : {revision_ - 1, revision_}) {
    history_.AcceptScreen(json({{"previous", revision - 1}, {"revision", revision}, {"page", false}}).dump());
  }
  Show(700);
  const json changes = Screens(0)["changes"];
  EXPECT_EQ(changes.size(), 2U) << changes;
}

TEST_F(HistoryTest, KeepsPeaksLampsBeeperAndKeysAndConvertsUnits) {
  Show(500);
  Pass(210ms);
  for (const double load : {900.0, 2000.0, 400.0}) Show(load);
  Pass(1s);
  history_.AcceptBoard(R"({"beeper":{"sounding":false,"pulses":3},"keys":[false,true]})");
  Pass(1s);
  history_.AcceptBoard(R"({"beeper":{"sounding":false,"pulses":4},"keys":[false,false]})");
  json overview = Overview();
  EXPECT_EQ(overview["curves"]["highest"]["load"], json::parse("[500,2000]"));
  EXPECT_EQ(overview["curves"]["lowest"]["load"], json::parse("[500,400]"));
  EXPECT_EQ(overview["bands"]["overload"], json::parse(R"([[210,210,"overload"]])"));
  EXPECT_EQ(overview["bands"]["front key 2"], json::parse(R"([[1210,2210,"2"]])"));
  EXPECT_EQ(overview["bands"]["beeper"], json::parse(R"([[2210,2260,"sounds"]])"));
  units_ = "meters";
  Change({{"page", true}});
  overview = Overview();
  EXPECT_EQ(overview["units"], "metric");
  EXPECT_THAT(overview["curves"]["highest"]["load"], ElementsAre(227, 907, 500));
}

TEST(ScreenRingTest, IsBounded) {
  ScreenRing ring;
  std::minstd_rand random;
  std::string noise(ScreenRing::MOST_OPEN_BYTES, ' ');
  for (char& letter : noise) letter = static_cast<char>(' ' + random() % 64);
  std::int64_t now_ms = 0;
  for (int chunk = 0; chunk < 8; ++chunk, now_ms += 1000) {
    ring.Begin(now_ms, "null");
    EXPECT_FALSE(ring.IsDue(now_ms));
    ring.Add(now_ms, '"' + noise + '"');
    EXPECT_TRUE(ring.IsDue(now_ms)) << "a full chunk ends before its minute";
    EXPECT_LE(ring.Bytes(), ScreenRing::MOST_BYTES);
  }
  const auto places = ring.Places();
  ASSERT_GT(places.size(), 2U);
  EXPECT_LT(places.size(), 8U);
  EXPECT_EQ(places.back().number, 7U);
  EXPECT_EQ(places.back().begin_ms, 7000);
  EXPECT_FALSE(ring.Find(places.front().number - 1, now_ms));
  const std::string oldest = ring.Find(places.front().number, now_ms)();
  EXPECT_EQ(oldest.rfind("{\"begin\":" + std::to_string(places.front().begin_ms) + ",\"start\":null", 0), 0U);
  for (int chunk = 0; chunk < 40; ++chunk) ring.Begin(now_ms, "null");
  EXPECT_LE(ring.Places().size(), ScreenRing::MOST_CHUNKS + 1) << "chunks that compress well are bounded too";
  ring.Begin(now_ms + HISTORY_MS + 1, "null");
  ring.Begin(now_ms + 2 * HISTORY_MS + 2, "null");
  EXPECT_EQ(ring.Places().size(), 2U) << "what is older than ten minutes goes";
}

TEST(RingTest, ValuesAndSpansAreBounded) {
  ValueRing values;
  SpanRing spans;
  for (std::int64_t now_ms = 0; now_ms < 2 * HISTORY_MS; now_ms += 20) {
    values.Add(now_ms, {}, false);
    spans.Set("beeper", now_ms, now_ms % 40 == 0 ? "sounds" : "");
  }
  EXPECT_LE(values.Size(), 6001U);
  EXPECT_LE(spans.Size(), 15'001U);
  for (int i = 0; i < 60'000; ++i) spans.Set("beeper", 2 * HISTORY_MS, i % 2 == 0 ? "sounds" : "");
  EXPECT_LE(spans.Size(), SpanRing::MOST_SPANS);
}

}  // namespace
}  // namespace unit
