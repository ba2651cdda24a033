// The load computer's message rates, alarms and operating values.
#include <cmath>
#include <tuple>

#include "src/core/frame_layout.h"
#include "tests/support/host_run.h"

namespace simulate {
namespace {

constexpr int FLASH_AT = 5;  // of the text in command 3

TEST(LoadComputerTest, TalksAtAHostsPace) {
  HostRun run;
  const auto start = run.Pass(2);
  std::vector<std::string> order;
  for (const said_t& said : start) {
    if (!said.Is("key-state")) order.emplace_back(said.Command()->name);
  }
  const std::vector<std::string> greeting(order.begin(), order.begin() + 13);
  EXPECT_EQ(greeting,
            (std::vector<std::string>{"protocol-version", "encryption", "program-name", "program-date",
                                      "file-id", "lcd-status", "led-brightness", "display-type", "display-mode",
                                      "beeper", "language", "units", "valid-keys"}));
  run.Pass(18);
  const auto said = run.Pass(60);
  EXPECT_EQ(CountOf(said, "operating-values"), 600U);
  EXPECT_EQ(CountOf(said, "key-state"), 1200U);
  EXPECT_EQ(CountOf(said, "transition"), 0U) << "a display that runs from the beginning needs no page request";
  EXPECT_LE(CountOf(said, "texts"), 8U) << "texts are repeated at long intervals, and sent when they change";
  EXPECT_GE(CountOf(said, "units"), 5U) << "settings are repeated for a display that starts later";
  run.computer.Accept({.identifier = DISPLAY_FRAME_ID, .length = 8, .data = {}});
  EXPECT_EQ(CountOf(run.Pass(60), "transition"), 4U)
      << "a display that starts late gets page requests, after 1, 2, 4, 8 s";
}

TEST(LoadComputerTest, FallsSilentAndRestarts) {
  HostRun run;
  run.Pass(5);
  run.Do("silence 3");
  run.Do("language russian");
  EXPECT_TRUE(run.Pass(2.9).empty());
  const auto after = run.Pass(0.5);
  EXPECT_EQ(LastOf(after, "language")->Value(), 4) << "changes during the silence are sent after it";
  run.Do("limit radius 5");
  run.Do("restart");
  EXPECT_TRUE(run.Pass(1.8).empty());
  const auto again = run.Pass(2);
  EXPECT_EQ(CountOf(again, "file-id"), 1U);
  EXPECT_EQ(LastOf(again, "language")->Value(), 4);
  EXPECT_FALSE(HasLamp(LastOf(again, "operating-values"), "radius-alarm-set"));
}

// 20 m at 60 degrees is a radius of 8.9 m.
TEST(LoadComputerTest, TellsTheDisplayInTheUnitsThatAreSet) {
  HostRun run;
  run.Raise("20");
  run.Do("load 5000");
  run.Do("swing 90");
  run.Pass(60);
  const auto imperial = run.Pass(1);
  run.Do("units metric");
  const auto metric = run.Pass(1);
  const std::tuple<const char*, double, double, double> cases[] = {{"radius", 8.9, 8.9 / 0.3048, 0.05},
                                                                   {"extension", 9.3, 9.3 / 0.3048, 0.05},
                                                                   {"angle", 60, 60, 0.05},
                                                                   {"swing", 90, 90, 0},
                                                                   {"load", 5230, 5230 / 0.45359237, 60},
                                                                   {"parts-of-line", 4, 4, 0}};
  for (const auto& [field, inMetric, inImperial, within] : cases) {
    EXPECT_NEAR(LastOf(imperial, "operating-values")->Value(field), inImperial, within) << field;
    EXPECT_NEAR(LastOf(metric, "operating-values")->Value(field), inMetric, within) << field;
  }
  const said_t* values = LastOf(metric, "operating-values");
  EXPECT_NEAR(values->Value("percent"), 100 * values->Value("load") / values->Value("capacity"), 0.01);
}

TEST(LoadComputerTest, SoundsEachAlarmInItsWay) {
  const std::tuple<const char*, double, const char*, const char*> cases[] = {
      {"load 9000", 0, "", ""},
      {"load 14500", 50, "NEAR LIMIT", "prealarm"},
      {"load 20000", 255, "OVERLOAD", "overload"},
      {"fault two-block-switch", 10, "TWO-BLOCK", "a2b"},
      {"fault two-block-switch off", 255, "OVERLOAD", "overload"},
      {"load 0", 0, "", ""},
      {"limit angle 10 50", 100, "LIMIT SET", "angle-alarm-tripped"},
      {"fault angle-sensor", 50, "SENSOR FAULT", "alarm"}};
  HostRun run;
  run.Raise("20");
  double before = 0;
  for (const auto& [action, beeper, text, lamp] : cases) {
    SCOPED_TRACE(action);
    run.Do(action);
    const auto said = run.Pass(12);
    if (beeper != before) {
      EXPECT_EQ(LastOf(said, "beeper")->Value(), beeper);
    }
    before = beeper;
    EXPECT_EQ(TextOf(LastOf(said, "texts"), "line4-center"), text);
    const std::string flash(text[0] == '\0' ? " " : text);
    const host::MessageBytes& message = LastOf(said, "flash")->message;
    EXPECT_EQ(std::string(message.begin() + FLASH_AT, message.end()).substr(0, flash.size()), flash);
    EXPECT_EQ(HasLamp(LastOf(said, "operating-values"), "alarm"), beeper != 0);
    if (*lamp != '\0') {
      EXPECT_TRUE(HasLamp(LastOf(said, "operating-values"), lamp));
    }
  }
  EXPECT_TRUE(std::isnan(LastOf(run.Pass(1), "operating-values")->Value("angle")));
  run.Do("key alarm-cancel");
  EXPECT_EQ(LastOf(run.Pass(1), "beeper")->Value(), 0) << "silenced";
  run.Do("fault two-block-switch");
  EXPECT_EQ(LastOf(run.Pass(1), "beeper")->Value(), 10) << "another alarm sounds";
}

TEST(LoadComputerTest, FillsTheBusAtItsFastest) {
  HostRun run;
  run.Pass(5);
  run.Do("traffic full");
  const auto said = run.Pass(10);
  EXPECT_EQ(CountOf(said, "operating-values"), 500U);
  const auto isFull = [](const said_t& one) { return one.Is("texts") && one.message.size() == 251; };
  EXPECT_EQ(std::ranges::count_if(said, isFull), 200) << "messages of the greatest length";
  const auto full = std::ranges::find_if(said, isFull);
  for (const std::string_view field : host::TextFieldNames())
    EXPECT_EQ(TextOf(&*full, field).size(), 4U) << field;
}

}  // namespace
}  // namespace simulate
