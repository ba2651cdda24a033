// The messages with which the host answers its keys.
#include <cmath>
#include <fstream>
#include <sstream>
#include <tuple>

#include <gmock/gmock.h>
#include <utf8.h>

#include "host/protocol/value_text.h"
#include "tests/support/host_run.h"

namespace simulate {
namespace {

using testing::HasSubstr;

TEST(KeysTest, ChangeTheRiggingWithItsLampAndText) {
  // Keys before it with commas between, the key, the lamp that is then lit or dark, the field and its text.
  const std::tuple<const char*, const char*, const char*, bool, const char*, const char*> cases[] = {
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
  for (const auto& [before, key, lamp, lit, field, text] : cases) {
    SCOPED_TRACE(std::string(before) + " then " + key);
    HostRun run;
    run.Raise("24");
    for (const std::string_view earlier : host::SplitAt(before, ',')) {
      if (!earlier.empty()) run.Do("key " + std::string(earlier));
    }
    run.Pass(0.2);
    run.Do(std::string("key ") + key);
    const auto said = run.Pass(12);  // long enough for the settings to be sent again
    const auto soon = std::vector<said_t>(said.begin(), std::ranges::find_if(said, [&](const said_t& one) {
                                            return one.time_ms > said.front().time_ms + 1000;
                                          }));
    EXPECT_EQ(HasLamp(LastOf(soon, "operating-values"), lamp), lit);
    EXPECT_EQ(TextOf(LastOf(soon, "texts"), field), text);
    EXPECT_THAT(TextOf(LastOf(said, "texts"), "line4-left"), HasSubstr("PARTS OF LINE")) << "the notice ends";
  }
}

// The last value sent for a text field, a lamp ("lit", "dark"), a command or an operating value.
std::string LastSaid(const std::vector<said_t>& said, const std::string& what) {
  if (host::FindTextField(what)) return TextOf(LastOf(said, "texts"), what);
  const said_t* values = LastOf(said, "operating-values");
  if (std::ranges::find(host::LampNames(), what) != host::LampNames().end()) {
    return HasLamp(values, what) ? "lit" : "dark";
  }
  const said_t* command = LastOf(said, what);
  if (command == nullptr && what != "parts-of-line") return "nothing";
  return std::to_string(std::lround(command != nullptr ? command->Value() : values->Value(what)));
}

struct answer_t {
  const char* key;  // "" where the row is a further part of the last answer
  const char* what;
  const char* said;
};

void Converse(HostRun& run, const std::vector<answer_t>& conversation, double seconds = 0.3) {
  std::vector<said_t> said;
  for (const answer_t& step : conversation) {
    if (*step.key != '\0') {
      run.Do(std::string("key ") + step.key);
      said = run.Pass(seconds);
    }
    EXPECT_EQ(LastSaid(said, step.what), step.said) << "after " << step.key << " of " << step.what;
  }
}

// Transitions: 0 wad to main, 1 config to wad, 4 wad to config, 6 main to wad.
TEST(KeysTest, LeadThroughTextsAndPagesAndBack) {
  const std::vector<answer_t> conversations[] = {
      {{"pol-up", "parts-of-line", "5"},
       {"", "line4-left", "5 PARTS OF LINE"},
       {"pol-up", "parts-of-line", "6"},
       {"pol-down", "parts-of-line", "5"},
       {"pol-down", "parts-of-line", "4"},
       {"pol-down", "parts-of-line", "3"},
       {"pol-down", "parts-of-line", "2"},
       {"pol-down", "parts-of-line", "1"},
       {"pol-down", "parts-of-line", "12"},
       {"pol-up", "line4-left", "1 PARTS OF LINE"}},
      {{"info", "transition", "6"},
       {"", "line1-center", "INFO 1/4"},
       {"info", "select-mode", "1"},
       {"", "select1-lineb", "OFF"},
       {"select-1", "angle-alarm-set", "lit"},
       {"select-2", "radius-alarm-set", "lit"},
       {"select-3", "extension-alarm-set", "lit"},
       {"select-4", "swing-alarm-set", "lit"},
       {"", "select1-lineb", "0.0 / 10.0"},
       {"", "select4-lineb", "-15.0 / 15.0"},
       {"select-4", "swing-alarm-set", "dark"},
       {"exit-alarm-main", "select-mode", "0"},  // this brings the display to Main
       {"", "transition", "nothing"},
       {"", "winch", "FRONT WINCH"}},
      {{"info", "transition", "6"}, {"exit-alarm-main", "transition", "0"}},
      {{"tires", "select4-linea", "EXTENDED"}, {"select-1", "tires", "lit"}, {"", "outriggers", "ON TIRES"}},
      {{"tires", "transition", "6"}, {"tires", "transition", "4"}, {"exit-alarm-config", "transition", "1"}},
      {{"calibration", "line1-center", "CALIBRATION"}},
  };
  for (const auto& conversation : conversations) {
    HostRun run;
    run.Pass(2);
    Converse(run, conversation);
  }
}

TEST(KeysTest, ChooseTheOutriggersAndTheWayToShowTheSwing) {
  HostRun run;
  run.Raise("20");
  run.Do("swing 90");
  run.Pass(30);
  Converse(run,
           {{"swing-mode", "line2-center", "SWING AREA"},
            {"", "swing-mode", "3"},
            {"swing-mode", "line2-center", "ARC OF THE CHART"},
            {"", "swing-mode", "4"},
            {"swing-mode", "line2-center", "SWING IN DEGREES"},
            {"", "swing-mode", "0"}},
           1);
  EXPECT_EQ(LastSaid(run.Pass(2), "transition"), "0") << "the page returns by itself";
  for (const auto& [key, base, lamp] : {std::tuple("select-2", "OUTRIGGERS RETRACTED", "outrigger-retracted"),
                                        {"select-3", "OUTRIGGERS HALF", "outrigger-half"},
                                        {"select-4", "OUTRIGGERS EXTENDED", "outrigger-extended"}}) {
    run.Do("key outrigger");
    run.Pass(0.3);
    Converse(run, {{key, "outriggers", base}, {"", lamp, "lit"}, {"", "select-mode", "0"}}, 11);
  }
}

TEST(KeysTest, AreDescribedAsTheyAre) {
  std::ostringstream page;
  page << std::ifstream(SOURCE_FOLDER "/docs/simulator.md").rdbuf();
  for (const Dialogue::reaction_t& reaction : Dialogue::Reactions()) {
    const std::string row = "| " + std::to_string(reaction.key) + " | `" +
                            std::string(host::NameOf(host::HostKeyNames(), reaction.key)) + "` | " +
                            std::string(reaction.about) + " |\n";
    EXPECT_THAT(page.str(), HasSubstr(row));
  }
}

// The display's grid has 40 columns, 24 in Chinese. The text on the right covers the text on the left.
TEST(TextsTest, FitBesideEachOtherInEveryLanguage) {
  constexpr const char* LINES[4][2] = {
      {"outriggers", "swing-text"}, {"jib", "aux"}, {"pickpoint", "winch"}, {"line4-left", "counterweight"}};
  constexpr const char* MENU[4][2] = {{"select1-linea", "select3-linea"},
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
    const unsigned width = std::string_view(language) == "chinese" ? CHINESE_COLUMNS : COLUMNS;
    const ConfigFiles shelf(SOURCE_FOLDER "/config");
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
        pair(LINES[line][0], LINES[line][1]);
        pair(MENU[line][0], MENU[line][1]);
        pair(name + "-left", name + "-right");
      }
    }
  }
}

}  // namespace
}  // namespace simulate
