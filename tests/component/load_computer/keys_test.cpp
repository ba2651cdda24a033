// The description of the host's keys, and the room that the texts of each page need. What each key does shows
// golden_transcripts/host-keys.log.
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <utf8.h>

#include "tests/support/host_run.h"

namespace simulate {
namespace {

using testing::HasSubstr;

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
      EXPECT_NE(TextOf(one, "stowed"), "") << "the page fits into the message";
      for (unsigned line = 0; line < 4; ++line) {
        const std::string name = "line" + std::to_string(line + 1);
        const unsigned center = columns(TextOf(one, name + "-center"));
        const auto pair = [&](const std::string& left, const std::string& right) {
          const unsigned both = columns(TextOf(one, left)) + columns(TextOf(one, right));
          EXPECT_LE(both + (both > 0 ? center : 0), width) << TextOf(one, left) << "|" << TextOf(one, right);
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
