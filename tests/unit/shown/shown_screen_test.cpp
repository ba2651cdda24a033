// What the panel says that the operator sees and hears.
#include "unit/shown/shown_screen.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "unit/shown/beeper_judge.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

json Shown(const std::string& svg, const json& variables) {
  const json state = {{"svg", svg}, {"variables", variables}, {"page", "Wad"}};
  const json board = {{"keys", {true, false, false, true}},
                      {"backlight", {{"enabled", true}, {"period", 200}, {"duty", 61}}}};
  return json::parse(DescribeShown(state.dump(), board.dump(), "pulse"));
}

TEST(ShownScreenTest, ReadsTheTextsFromTheGlass) {
  struct case_t {
    const char* element;
    const char* name;
    const char* shown;
  };
  for (
      const auto& [element, name, shown] : {
          case_t{R"(<text id="orvikTextWidgetWadLoad"> 12,300</text>)", "load", "12,300"},
          {R"(<text id="orvikTextWidgetLoad">-------</text>)", "load", "-------"},
          {R"(<text data-widget="orvikTextWidgetUnitsWeight">lbs</text>)", "weight-units", "lbs"},
          {R"(<text id="orvikTextWidgetLine2Std" aria-label="&#160;A&#160;B "><tspan>A</tspan></text>)",
           "line2", "A B"},
          {R"(<text id="orvikTextWidgetTopLine3Std"> </text><text id="orvikTextWidgetTopLine3Wide">　信</text>)",
           "line3", "信"},
          {R"(<g display="none"><text id="orvikTextWidgetMainStowedStd">FLY</text></g>)", "stowed", ""},
          {R"(<text data-var="OrvikPercentSafeWorkingLoad" data-format="{0} %">85 %</text>)", "percent", "85"},
          {R"(<text data-var="OrvikPartsOfLine">no number</text>)", "parts-of-line", ""},
      }) {
    const json texts = Shown("<svg>" + std::string(element) + "</svg>", json::object())["texts"];
    EXPECT_EQ(texts[name], shown) << element;
  }
}

TEST(ShownScreenTest, NamesLinkLampsLanguageAndKeysAsTheScreenShowsThem) {
  struct case_t {
    int dataState;
    const char *state, *link;
    json lamps;
  };
  for (const auto& [dataState, state, link, lamps] : {
           case_t{1, "current", "heard", {"overload", "swing-alarm-tripped", "tires"}},
           {2, "old", "lost", {"link-lost"}},
           {3, "unknown", "lost", {"link-lost"}},
           {4, "unknown", "unknown", json::array()},
           {5, "old", "heard", json::array()},
       }) {
    const json shown = Shown("<svg/>", {{"Screen.DataState", dataState},
                                        {"OrvikOverload", 1},
                                        {"OrvikTires", 3},
                                        {"OrvikSwingAlarmTripped", 1},
                                        {"OrvikA2B", nullptr},
                                        {"OrvikLanguage", 4}});
    EXPECT_EQ(shown["state"], state) << dataState;
    EXPECT_EQ(shown["link"], link) << dataState;
    EXPECT_EQ(shown["lamps"], lamps) << dataState;
    EXPECT_EQ(shown["language"], "russian");
    EXPECT_EQ(shown["keys"], json({1, 4}));
    EXPECT_EQ(shown["brightness"], 31);
  }
}

TEST(ShownScreenTest, HasNothingToSayOfWhatIsNoState) {
  for (const char* text : {"", "[]", "{}", R"({"svg":1,"variables":{}})", R"({"svg":"<svg/>","variables":3})"})
    EXPECT_EQ(DescribeShown(text, "", ""), "") << text;
  EXPECT_EQ(json::parse(DescribeShown(R"({"svg":"<svg","variables":{}})", "[", ""))["brightness"], nullptr);
}

TEST(BeeperJudgeTest, TellsPulsesFromABeepAndASteadySound) {
  struct reading_t {
    std::chrono::milliseconds at;
    bool sounding;
    std::uint32_t pulses;
  };
  struct case_t {
    std::vector<reading_t> readings;
    std::chrono::milliseconds asked;
    const char* heard;
  };
  const std::vector<reading_t> click = {{0ms, false, 7}, {1s, true, 8}, {1050ms, false, 8}};
  const std::vector<reading_t> pulses = {
      {0ms, false, 0}, {1s, true, 1}, {1500ms, false, 1}, {2s, true, 2}, {2500ms, false, 2}};
  for (const auto& [readings, asked, heard] : {
           case_t{{}, 1s, "silent"},
           {{{0ms, false, 7}}, 1s, "silent"},
           {click, 1040ms, "beep"},
           {click, 1340ms, "beep"},
           {click, 1360ms, "silent"},
           {{{0ms, false, 7}, {1s, false, 8}}, 1200ms, "beep"},   // between two readings
           {{{0ms, false, 7}, {1s, false, 9}}, 1050ms, "pulse"},  // two of them
           {pulses, 2900ms, "pulse"},
           {pulses, 3300ms, "pulse"},
           {pulses, 3400ms, "silent"},
           {{{0ms, true, 1}}, 900ms, "beep"},
           {{{0ms, true, 1}}, 1s, "steady"},
           {{{0ms, false, 0}, {1s, true, 1}, {1100ms, false, 1}, {2s, true, 2}}, 2800ms, "pulse"},
           {{{0ms, false, 0}, {1s, true, 1}, {1100ms, false, 1}, {2s, true, 2}}, 3s, "steady"},
           {{{0ms, false, 0}, {1s, true, 1}, {1100ms, false, 1}, {5s, true, 2}}, 5100ms, "beep"},
       }) {
    BeeperJudge judge;
    const BeeperJudge::TimePoint start{100s};
    for (const auto& [at, sounding, count] : readings) {
      if (at <= asked) judge.Note(sounding, count, start + at);
    }
    EXPECT_EQ(judge.Judge(start + asked), heard) << readings.size() << " readings, asked at " << asked.count();
  }
}

}  // namespace
}  // namespace unit
