// The names of the host on the screen's pages and on the front panel. That both sides mean the same by the
// other names show the golden transcripts, which send by name.
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "host/crane/rigging.h"
#include "host/load_computer/dialogue.h"
#include "host/load_computer/phrases.h"
#include "host/load_computer/sensors.h"
#include "host/protocol/protocol.h"
#include "src/core/operating_values.h"
#include "tests/support/test_record.h"

namespace {

// The letter in the lamp of a part that the pages share.
std::string Color(unsigned number) {
  std::ostringstream page;
  page << std::ifstream(PARTS_OF_PAGES).rdbuf();
  const std::string text = page.str();
  std::smatch letters;
  const std::regex pattern("data-var=\"[$]var\" data-text=\"[^\"]*\\b" + std::to_string(number) + ":([A-Z])");
  return std::regex_search(text, letters, pattern) ? letters[1].str() : "";
}

TEST(HostNamesTest, OfColorsBeginWithTheLetterInTheLampAndDarkHasNone) {
  for (const host::field_t& field : host::FindCommand("colors")->fields) {
    for (const auto& [number, name] : field.names) {
      const char initial = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
      EXPECT_EQ(Color(number), name == "dark" ? "" : std::string(1, initial)) << name;
    }
    EXPECT_EQ(Color(static_cast<unsigned>(field.names.size())), "");
  }
}

// The columns that the host's texts have to fit.
TEST(GridTest, HasTheHostsColumnsInEveryLanguage) {
  for (const auto& [number, name] : host::FindCommand("language")->fields[0].names) {
    RecordWithoutDatabase record;
    SetLanguage(record, number);
    const unsigned columns = name == "chinese" ? simulate::CHINESE_COLUMNS : simulate::COLUMNS;
    EXPECT_EQ(record->lcdColumns, static_cast<int>(columns)) << name;
  }
}

TEST(PanelWords, AreThoseOfTheHostsNames) {
  std::set<std::string> names, words;
  const auto add = [&names](const auto& list) { names.insert(list.begin(), list.end()); };
  add(host::LampNames());
  add(crane::BASE_NAMES);
  add(crane::JIB_NAMES);
  add(crane::PICK_NAMES);
  add(simulate::VIEW_NAMES);
  add(simulate::SENSOR_FAULT_NAMES);
  for (const auto& file : std::filesystem::directory_iterator(SOURCE_FOLDER "/config/scenarios")) {
    if (file.path().extension() == ".scenario") names.insert(file.path().stem().string());
  }
  std::stringstream text;
  text << std::ifstream(SOURCE_FOLDER "/config/words/en.xml").rdbuf();
  const std::string catalogue = text.str();
  static const std::regex KEY("\"panel\\.name\\.([^\"]+)\"");
  for (std::sregex_iterator match(catalogue.begin(), catalogue.end(), KEY), end; match != end; ++match) {
    words.insert((*match)[1].str());
  }
  EXPECT_EQ(words, names);
}

}  // namespace
