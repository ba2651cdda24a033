// The answers of the host to its keys, as the display gets to see them.
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <utf8.h>

#include "host/value_text.h"
#include "tests/unit/simulate/host_run.h"

namespace simulate {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr double kWadToConfig = 4;

bool Asked(const std::vector<said_t>& said, double transition) {
  return std::ranges::any_of(
      said, [&](const said_t& one) { return one.Is("transition") && one.Value() == transition; });
}

TEST(Keys, ChangeTheRiggingWithItsLampAndText) {
  struct {
    const char* before;  // keys with commas between
    const char* key;
    const char* lamp;
    bool lit;
    const char* field;
    const char* text;
  } const cases[] = {
      {"", "boom-mode", "boom-mode", true, "line4-center", "BOOM MANUAL"},
      {"boom-mode", "boom-mode", "boom-mode", false, "line4-center", "BOOM TOGETHER"},
      {"", "winch", "rear-winch", true, "winch", "REAR WINCH"},
      {"winch", "winch", "front-winch", true, "winch", "FRONT WINCH"},
      {"", "counterweight", "counterweight", false, "line4-center", "NO COUNTERWEIGHT"},
      {"", "stowed", "stowed", false, "jib", "NO JIB"},
      {"stowed", "stowed", "stowed", true, "jib", "JIB STOWED"},
      {"", "fly", "jib-long-fly-0", true, "jib", "LONG FLY 0°"},
      {"fly", "fly", "jib-short-fly-0", true, "jib", "SHORT FLY 0°"},
      {"fly,fly", "fly", "jib-long-fly-15", true, "jib", "LONG FLY 15°"},
      {"fly,fly,fly", "fly", "jib-short-fly-15", true, "jib", "SHORT FLY 15°"},
      {"fly,fly,fly,fly", "fly", "jib-long-fly-30", true, "jib", "LONG FLY 30°"},
      {"fly,fly,fly,fly,fly", "fly", "jib-short-fly-30", true, "jib", "SHORT FLY 30°"},
      {"fly,pick,fly,fly,fly,fly,fly", "fly", "pick-main-boom", true, "jib", "JIB STOWED"},
      {"", "aux", "aux-head", true, "aux", "AUX HEAD ON"},
      {"aux", "pick", "pick-aux", true, "pickpoint", "AUX HEAD"},
      {"aux,pick", "aux", "pick-main-boom", true, "aux", "AUX HEAD OFF"},
      {"", "pick", "pick-main-boom", true, "pickpoint", "MAIN BOOM"},
      {"fly", "pick", "pick-fly", true, "pickpoint", "FLY"},
      {"", "man-basket", "man-basket", true, "pickpoint", "MAN BASKET"},
      {"", "alarm-cancel", "alarm", false, "line4-center", "NO ALARM"},
      {"", "select-2", "alarm", false, "line4-center", "NO CHOICE"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.before) + " then " + c.key);
    HostRun run;
    run.Do("base extended");
    run.Do("boom angle 60");
    run.Do("hoist hold 2");
    run.Pass(30);
    run.Do("boom length 24");
    run.Pass(30);
    for (const std::string_view key : host::Split(c.before, ',')) {
      if (!key.empty()) run.Do("key " + std::string(key));
    }
    run.Pass(0.2);
    run.Do(std::string("key ") + c.key);
    const auto said = run.Pass(12);  // the settings come again meanwhile
    const auto soon = std::vector<said_t>(said.begin(), std::ranges::find_if(said, [&](const said_t& one) {
                                            return one.time_ms > said.front().time_ms + 1000;
                                          }));
    EXPECT_EQ(HasLamp(LastOf(soon, "operating-values"), c.lamp), c.lit);
    EXPECT_EQ(TextOf(LastOf(soon, "texts"), c.field), c.text);
    EXPECT_THAT(TextOf(LastOf(said, "texts"), "line4-left"), HasSubstr("PARTS OF LINE")) << "the notice goes";
  }
}

TEST(Keys, CountPartsOfLineRound) {
  HostRun run;
  const std::pair<const char*, int> presses[] = {{"pol-up", 5},   {"pol-up", 6},    {"pol-down", 5},
                                                 {"pol-down", 4}, {"pol-down", 3},  {"pol-down", 2},
                                                 {"pol-down", 1}, {"pol-down", 12}, {"pol-up", 1}};
  run.Pass(2);
  for (const auto& [key, parts] : presses) {
    run.Do(std::string("key ") + key);
    const auto said = run.Pass(0.3);
    EXPECT_EQ(LastOf(said, "operating-values")->Value("parts-of-line"), parts);
    EXPECT_EQ(TextOf(LastOf(said, "texts"), "line4-left"), std::to_string(parts) + " PARTS OF LINE");
  }
}

TEST(Keys, LeadThroughInformationAndBack) {
  HostRun run;
  run.Pass(2);
  run.Do("key info");
  auto said = run.Pass(0.3);
  EXPECT_TRUE(Asked(said, 6)) << "main to wad";
  EXPECT_EQ(TextOf(LastOf(said, "texts"), "line1-center"), "INFO 1/4");
  run.Do("key info");
  said = run.Pass(0.3);
  EXPECT_EQ(LastOf(said, "select-mode")->Value(), 1);
  EXPECT_EQ(TextOf(LastOf(said, "texts"), "select1-lineb"), "OFF");
  EXPECT_EQ(LastOf(said, "valid-keys")->message[3 + 8], 0x7F) << "the select keys are good here";
  for (const char* key : {"select-1", "select-2", "select-3", "select-4"}) run.Do(std::string("key ") + key);
  said = run.Pass(0.3);
  const said_t* values = LastOf(said, "operating-values");
  for (const char* lamp : {"angle-alarm-set", "radius-alarm-set", "extension-alarm-set", "swing-alarm-set"}) {
    EXPECT_TRUE(HasLamp(values, lamp)) << lamp;
  }
  EXPECT_EQ(TextOf(LastOf(said, "texts"), "select1-lineb"), "0.0 / 10.0");
  EXPECT_EQ(TextOf(LastOf(said, "texts"), "select4-lineb"), "-15.0 / 15.0");
  run.Do("key select-4");
  said = run.Pass(0.3);
  EXPECT_FALSE(HasLamp(LastOf(said, "operating-values"), "swing-alarm-set"));
  run.Do("key exit-alarm-main");
  said = run.Pass(0.3);
  EXPECT_EQ(LastOf(said, "select-mode")->Value(), 0) << "which leads the display to Main";
  EXPECT_FALSE(Asked(said, 0));
  EXPECT_EQ(TextOf(LastOf(said, "texts"), "winch"), "FRONT WINCH");
  run.Do("key info");
  run.Pass(0.3);
  run.Do("key exit-alarm-main");
  EXPECT_TRUE(Asked(run.Pass(0.3), 0)) << "wad to main";
}

TEST(Keys, ChooseWhatTheCraneStandsOn) {
  const struct {
    const char* select;
    const char* base;
    const char* lamp;
  } cases[] = {{"select-1", "ON TIRES", "tires"},
               {"select-2", "OUTRIGGERS RETRACTED", "outrigger-retracted"},
               {"select-3", "OUTRIGGERS HALF", "outrigger-half"},
               {"select-4", "OUTRIGGERS EXTENDED", "outrigger-extended"}};
  for (const auto& c : cases) {
    for (const char* key : {"tires", "outrigger"}) {
      HostRun run;
      run.Pass(2);
      run.Do(std::string("key ") + key);
      EXPECT_EQ(TextOf(LastOf(run.Pass(0.3), "texts"), "select4-linea"), "EXTENDED");
      run.Do(std::string("key ") + c.select);
      const auto said = run.Pass(11);
      EXPECT_EQ(TextOf(LastOf(said, "texts"), "outriggers"), c.base);
      EXPECT_TRUE(HasLamp(LastOf(said, "operating-values"), c.lamp));
      EXPECT_EQ(LastOf(said, "colors")
                    ->Value(std::string_view(c.lamp).substr(std::string_view(c.lamp).find('-') + 1)),
                1)
          << "green";
    }
  }
}

TEST(Keys, LeadToTheConfigurationPageAndBack) {
  HostRun run;
  run.Pass(2);
  run.Do("key tires");
  run.Pass(0.3);
  run.Do("key tires");
  EXPECT_TRUE(Asked(run.Pass(0.3), kWadToConfig)) << "wad to config";
  run.Do("key exit-alarm-config");
  const auto said = run.Pass(1.5);
  EXPECT_TRUE(Asked(said, 1)) << "config to wad";
  EXPECT_EQ(LastOf(said, "select-mode")->Value(), 0) << "and then to Main";
}

TEST(Keys, ShowSwingInThreeWaysAndReturn) {
  HostRun run;
  run.Do("base extended");
  run.Do("swing 90");
  run.Pass(30);
  for (const auto& [text, mode] :
       {std::pair{"SWING AREA", 3}, {"ARC OF THE CHART", 4}, {"SWING IN DEGREES", 0}}) {
    run.Do("key swing-mode");
    const auto said = run.Pass(1);
    EXPECT_EQ(TextOf(LastOf(said, "texts"), "line2-center"), text);
    EXPECT_EQ(LastOf(said, "swing-mode")->Value(), mode) << text;
    EXPECT_TRUE(Asked(run.Pass(2), 0)) << "back by itself";
  }
  run.Do("key calibration");
  EXPECT_EQ(TextOf(LastOf(run.Pass(0.3), "texts"), "line1-center"), "CALIBRATION");
}

TEST(Keys, AreDescribedAsTheyAre) {
  std::ostringstream page;
  page << std::ifstream(DOCUMENT).rdbuf();
  for (const Dialogue::reaction_t& reaction : Dialogue::Reactions()) {
    const std::string row = "| " + std::to_string(reaction.key) + " | `" +
                            std::string(host::NameOf(host::HostKeyNames(), reaction.key)) + "` | " +
                            std::string(reaction.about) + " |\n";
    EXPECT_THAT(page.str(), HasSubstr(row));
  }
}

// The display's grid has 40 columns, 24 in Chinese; what is on the right covers what is on the left.
TEST(Texts, FitBesideEachOtherInEveryLanguage) {
  constexpr const char* kLines[4][2] = {
      {"outriggers", "swing-text"}, {"jib", "aux"}, {"pickpoint", "winch"}, {"line4-left", "counterweight"}};
  constexpr const char* kMenu[4][2] = {{"select1-linea", "select3-linea"},
                                       {"select1-lineb", "select3-lineb"},
                                       {"select2-linea", "select4-linea"},
                                       {"select2-lineb", "select4-lineb"}};
  const auto columns = [](const std::string& text) {
    EXPECT_TRUE(utf8::is_valid(text.begin(), text.end()));
    return static_cast<unsigned>(utf8::distance(text.begin(), text.end()));
  };
  for (const char* language : {"english", "spanish", "portuguese", "chinese", "russian", "french"}) {
    SCOPED_TRACE(language);
    HostRun run;
    run.Do(std::string("language ") + language);
    run.Do("limit angle -1.5 79.5");
    run.Do("limit swing -355.5 355.5");
    const unsigned width = std::string_view(language) == "chinese" ? kChineseColumns : kColumns;
    const Shelf shelf(CONFIG);
    std::vector<said_t> said;
    for (const char* action :
         {"base half",       "jib long-15",   "jib short-30",      "jib absent",     "pick aux", "pick fly",
          "man-basket on",   "winch rear",    "counterweight off", "parts 12",       "swing 20", "swing 90",
          "swing 180",       "base extended", "key info",          "key info",       "key info", "key info",
          "key calibration", "key tires",     "key swing-mode",    "fault load-cell"}) {
      run.Do(action);
      const auto more = run.Pass(action[0] == 's' || action[0] == 'b' ? 20 : 0.3);
      said.insert(said.end(), more.begin(), more.end());
    }
    for (const said_t& one : said) {
      if (!one.Is("texts")) continue;
      EXPECT_NE(TextOf(&one, "stowed"), "") << "the page fits into the message";
      for (unsigned line = 0; line < 4; ++line) {
        const std::string name = "line" + std::to_string(line + 1);
        const unsigned center = columns(TextOf(&one, name + "-center"));
        const auto pair = [&](const std::string& left, const std::string& right) {
          const unsigned both = columns(TextOf(&one, left)) + columns(TextOf(&one, right));
          EXPECT_LE(both + (both > 0 ? center : 0), width) << TextOf(&one, left) << "|" << TextOf(&one, right);
        };
        pair(kLines[line][0], kLines[line][1]);
        pair(kMenu[line][0], kMenu[line][1]);
        pair(name + "-left", name + "-right");
      }
    }
  }
}

}  // namespace
}  // namespace simulate
