// Both sides mean the same by a number: languages, keys, masks, modes, pages, lamps, fields and the grid.
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "host/crane/rigging.h"
#include "host/load_computer/dialogue.h"
#include "host/load_computer/phrases.h"
#include "host/load_computer/sensors.h"
#include "host/protocol/decode.h"
#include "host/protocol/encode.h"
#include "src/core/name_tables.h"
#include "src/core/operating_values.h"
#include "src/devio/digital_io.h"
#include "src/display/dispatcher.h"
#include "src/display/handles.h"
#include "src/display/value_widgets.h"
#include "src/pages/display_transition.h"
#include "src/pages/key_report.h"
#include "src/text/fields.h"
#include "tests/component/protocol/both_sides.h"

namespace {

std::span<const host::number_name_t> NamesOf(std::string_view command) {
  return host::FindCommand(command)->fields[0].names;
}

// --- The display's word for a number; empty where it has none.

// The third one's spelling is the system's own.
std::string Language(unsigned number) {
  const std::string_view name = number < LANGUAGE_COUNT ? LANGUAGE_NAMES[number] : "";
  return name == "Portugeues" ? "Portuguese" : std::string(name);
}

std::string SwingMode(unsigned number) {
  const std::string text(SwingModeText(static_cast<int>(number)));
  return text == "ERROR" ? "" : text.empty() ? "number" : text;
}

// "Set display mode: Units ( with trailing zeroes )"; any number but 0 is the second mode.
std::string DisplayMode(unsigned number) {
  TestRecord record;
  const std::string said = Tell(record, host::MakeMessage("display-mode", number));
  return number > 1 ? "" : said.substr(18, said.find_first_of(" \n", 18) - 18);
}

std::string Beeper(const char* command, unsigned number) {
  TestRecord record;
  Tell(record, host::MakeMessage(command, number));
  const int state = record->beeperState;
  EXPECT_TRUE(state != BEEPER_PULSE || record->beeperDuration == static_cast<int>(number));
  return state == BEEPER_SILENT ? "off" : state == BEEPER_CONTINUOUS ? "continuous" : "";
}

// "Key None : NO BEEP"
std::string KeyMask(unsigned number) {
  TestRecord record;
  record->keyMasks[0] = number;
  ConsoleCapture console;
  DumpValidKeys(record, 1);
  const std::string words = console.Out().substr(console.Out().find(" : ") + 3);
  return words == "Unknown!\n" ? "" : words;
}

// "Alarm Cancel", and "Key None" for none.
std::string Key(unsigned number) {
  TestRecord record;
  ConsoleCapture console;
  SetQMT740KeyPressed(record, static_cast<int>(number));
  if (!console.Err().empty()) return "";
  const std::string_view name = TARGET_KEY_NAMES[number];
  return std::string(name.starts_with("Key ") ? name.substr(4) : name);
}

// The page that the request starts from, and the end of its event: "Wad" of Page.Wad, "ToMain" of
// orvik.WadToMain.
std::string Transition(unsigned number) {
  const auto transitions = DisplayTransitions();
  if (number >= transitions.size() || transitions[number].event == nullptr) return "";
  const std::string_view event = transitions[number].event;
  return std::string(ActionName(transitions[number].requiredPage).substr(5)) +
         std::string(event.substr(event.find("To")));
}

// The letter in the lamp of a part that the pages share.
std::string Color(unsigned number) {
  std::ostringstream page;
  page << std::ifstream(PARTS_OF_PAGES).rdbuf();
  const std::string text = page.str();
  std::smatch letters;
  const std::regex pattern("data-var=\"[$]var\" data-text=\"[^\"]*\\b" + std::to_string(number) + ":([A-Z])");
  return std::regex_search(text, letters, pattern) ? letters[1].str() : "";
}

std::string FieldName(unsigned number) {
  if (number >= FIELD_COUNT) return "";
  const auto name = FIELD_ID_NAMES[number].substr(std::string_view("FIELD_ID_").size());
  return name == "SWING" ? "swing-text" : std::string(name);  // the operating value has the shorter name
}

// The names as numbered ones.
std::vector<host::number_name_t> Numbered(std::span<const std::string_view> names) {
  std::vector<host::number_name_t> numbered;
  for (const auto name : names) numbered.push_back({static_cast<std::uint8_t>(numbered.size()), name});
  return numbered;
}

TEST(HostNamesTest, AreTheSameForEveryNumber) {
  const auto fields = Numbered(host::TextFieldNames());
  const struct {
    const char* what;
    std::span<const host::number_name_t> names;
    std::function<std::string(unsigned)> display;
  } cases[] = {
      {"language", NamesOf("language"), Language},
      {"swing mode", NamesOf("swing-mode"), SwingMode},
      {"display mode", NamesOf("display-mode"), DisplayMode},
      {"beeper", NamesOf("beeper"), [](unsigned number) { return Beeper("beeper", number); }},
      {"beep duration", NamesOf("beep-duration"),
       [](unsigned number) { return Beeper("beep-duration", number); }},
      {"key mask", host::KeyMaskNames(), KeyMask},
      {"host key", host::HostKeyNames(), Key},
      {"transition", NamesOf("transition"), Transition},
      {"field", fields, FieldName},
  };
  for (const auto& c : cases) {
    for (unsigned number = 0; number < 256; ++number)
      EXPECT_EQ(Plain(host::NameOf(c.names, number)), Plain(c.display(number))) << c.what << " " << number;
  }
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

TEST(HostNamesTest, OfUnitsStandForTheUnitsThatTheDisplayShows) {
  const host::command_t& command = host::OperatingValuesCommand();
  const host::MessageBytes message =
      host::MakeMessage(command, std::vector<double>(command.fields.size(), 1.5));
  for (unsigned units = 0; units < UNITS_WEIGHT.size(); ++units) {
    const host::decoded_t decoded = host::ReadCommand(message, units);
    EXPECT_EQ(decoded.values[1].unit, UNITS_WEIGHT[units][0]);
    EXPECT_EQ(decoded.values[2].unit, UNITS_DISTANCE[units][0]);
    EXPECT_EQ(host::NameOf(NamesOf("units"), units),
              UNITS_DISTANCE[units][0] == "feet" ? "imperial" : "metric");
  }
  EXPECT_EQ(NamesOf("units").size(), UNITS_WEIGHT.size());
}

// The lamps' variables and all others, in the order of the table.
std::vector<double> Variables() {
  std::vector<double> values;
  for (const variable_name_t& variable : VARIABLE_NAMES)
    values.push_back(ParameterValue(std::string(variable.name)));
  return values;
}

TEST(HostLampsTest, LightTheVariablesOfTheirNames) {
  TestRecord record;
  ResetAllOutriggerColors(record);
  const auto show = [&record](unsigned word) {
    SetLEDState(record, word);
    UpdateDatabase(record);
    return Variables();
  };
  const std::vector<double> dark = show(0);
  for (unsigned bit = 0; bit < 32; ++bit) {
    const std::vector<double> now = show(1U << bit);
    std::string lit;
    for (std::size_t i = 0; i < now.size(); ++i) {
      if (now[i] > 0 && dark[i] == 0) lit += VARIABLE_NAMES[i].name;
    }
    const std::string name = Plain(host::LampNames()[bit]);
    EXPECT_EQ(Plain(lit), name == "alarm" ? "orvikalarmsetorvikalarmled" : "orvik" + name);
  }
}

TEST(HostFieldsTest, OfALineStandOnItWhereTheirNameSays) {
  for (const auto& [number, name] : Numbered(host::TextFieldNames())) {
    if (!name.starts_with("line")) continue;
    EXPECT_EQ(Plain(PlaceOf(number)), Plain(name));
  }
}

// The host's last line, of "line4-right", and the columns that its texts have to fit.
TEST(GridTest, HasTheHostsLinesAndColumnsInEveryLanguage) {
  TestRecord record;
  int lines = 0;
  for (const std::string_view name : host::TextFieldNames()) {
    if (name.starts_with("line")) lines = std::max(lines, name[4] - '0');
  }
  for (const auto& [number, name] : NamesOf("language")) {
    Tell(record, host::MakeMessage("language", number));
    EXPECT_EQ(record->lcdRows, lines) << name;
    const unsigned columns = name == "chinese" ? simulate::CHINESE_COLUMNS : simulate::COLUMNS;
    EXPECT_EQ(record->lcdColumns, static_cast<int>(columns)) << name;
  }
}

// --- The front panel's words for the host's names

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
    names.insert(file.path().stem().string());
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
