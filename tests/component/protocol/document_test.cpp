// The tables of docs/host-protocol.md say what the host's tables say.
#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "host/protocol/encode.h"
#include "host/protocol/protocol.h"
#include "src/parse/parse_thread.h"
#include "src/text/fields.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

// Letters and digits alone, in lower case: "Page.Wad" and "page-wad" are one name.
std::string Plain(std::string_view text) {
  std::string plain;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0) plain.push_back(static_cast<char>(std::tolower(byte)));
  }
  return plain;
}

// Where the display shows the text of a field: "line 1, left".
std::string PlaceOf(std::uint8_t field) {
  TestRecord record;
  InitAllFields();
  DecapData_t block;
  std::ranges::copy(host::MakeTextsMessage(std::vector<host::field_text_t>{{field, "ab"}}),
                    block.bytes.begin());
  const ConsoleCapture console;
  ParseMessage(record, block);
  if (ErectedText(record) == "ab") return "label of the erected jib";
  if (StowedText(record) == "ab") return "label of the stowed jib";
  for (int line = 0; line < record->lcdRows; ++line) {
    for (int column = 0; column < record->lcdColumns; ++column) {
      const auto& cells = record->utf8Display[static_cast<std::size_t>(line)].cells;
      if (cells[static_cast<std::size_t>(column)].codePoint != 'a') continue;
      const char* const side = column == 0 ? "left" : column == record->lcdColumns - 2 ? "right" : "center";
      return "line " + std::to_string(line + 1) + ", " + side;
    }
  }
  return "not on the grid";
}

using cells_t = std::vector<std::string>;
// A table's rows, the headings first. Code marks, emphasis and quotes are left out.
using table_t = std::vector<cells_t>;

cells_t CellsOf(const std::string& line) {
  static const std::regex MARKS("[`*\"¹]+");
  static const std::regex CELL("\\| *([^|]*?) *(?=\\|)");
  const std::string text = std::regex_replace(line, MARKS, "");
  cells_t cells;
  for (std::sregex_iterator at(text.begin(), text.end(), CELL), end; at != end; ++at) cells.push_back((*at)[1]);
  return cells;
}

std::vector<table_t> ReadTables() {
  std::vector<table_t> tables;
  std::ifstream document(DOCUMENT);
  bool inside = false;
  for (std::string line; std::getline(document, line);) {
    if (line.starts_with('|') && !inside) tables.emplace_back();
    inside = line.starts_with('|');
    if (inside && line.find("---") == std::string::npos) tables.back().push_back(CellsOf(line));
  }
  return tables;
}

// The rows of the one table with these first headings. Where the headings come again beside themselves, a row
// is as many rows as it has first cells with something in them.
table_t Rows(const cells_t& headings) {
  table_t rows;
  for (const table_t& table : ReadTables()) {
    const cells_t& head = table[0];
    if (head.size() < headings.size() || !std::equal(headings.begin(), headings.end(), head.begin())) continue;
    const auto width = std::find(head.begin() + 1, head.end(), headings[0]) - head.begin();
    for (std::size_t row = 1; row < table.size(); ++row) {
      for (auto at = table[row].begin(); at < table[row].end(); at += width) {
        if (!at->empty()) rows.emplace_back(at, at + width);
      }
    }
  }
  EXPECT_FALSE(rows.empty()) << "no table of " << testing::PrintToString(headings);
  return rows;
}

using pairs_t = std::map<std::string, std::string>;

// The first cell of each row with another of it.
pairs_t Pairs(const table_t& rows, std::size_t column = 1) {
  pairs_t pairs;
  for (const cells_t& row : rows) pairs[row[0]] = row[column];
  return pairs;
}

pairs_t Expected(std::span<const host::number_name_t> names) {
  pairs_t expected;
  for (const auto& [number, name] : names) expected[std::to_string(number)] = name;
  return expected;
}

pairs_t Expected(std::span<const std::string_view> names) {
  pairs_t expected;
  for (const std::string_view name : names) expected.emplace(std::to_string(expected.size()), name);
  return expected;
}

TEST(DocumentTest, NamesLampsFieldsAndKeys) {
  EXPECT_EQ(Pairs(Rows({"Bit", "Name"})), Expected(host::LampNames()));
  EXPECT_EQ(Pairs(Rows({"Field", "Name"})), Expected(host::TextFieldNames()));
  EXPECT_EQ(Pairs(Rows({"Key", "Name"})), Expected(host::HostKeyNames()));
}

TEST(DocumentTest, SaysWhereTheDisplayShowsAField) {
  pairs_t expected;
  for (std::uint8_t field = 0; field < FIELD_COUNT; ++field) expected[std::to_string(field)] = PlaceOf(field);
  expected["0"] = "whole grid, over everything";  // begins on line 1
  EXPECT_EQ(Pairs(Rows({"Field", "Name", "Place"}), 2), expected);
}

TEST(DocumentTest, ListsEachTransitionWithItsPages) {
  const table_t rows = Rows({"Byte 2", "Name", "From", "To"});
  EXPECT_EQ(Pairs(rows), Expected(host::FindCommand("transition")->fields[0].names));
  for (const cells_t& row : rows) EXPECT_EQ(Plain(row[1]), Plain(row[2] + "to" + row[3]));
}

TEST(DocumentTest, ListsTheMasksOfTheKeys) {
  std::set<unsigned long> listed;
  for (const cells_t& row : Rows({"Mask"})) listed.insert(std::stoul(row[0], nullptr, 16));
  std::set<unsigned long> expected;
  for (const auto& mask : host::KeyMaskNames()) expected.insert(mask.number);
  EXPECT_EQ(listed, expected);
}

// "2 to 5" or "27, 28, 29".
std::set<int> Numbers(const std::string& cell) {
  std::set<int> numbers;
  std::istringstream words(std::regex_replace(cell, std::regex(","), ""));
  for (std::string word; words >> word;) {
    const int first = word == "to" ? *numbers.rbegin() + 1 : std::stoi(word);
    int last = first;
    if (word == "to") words >> last;
    for (int number = first; number <= last; ++number) numbers.insert(number);
  }
  return numbers;
}

// Of the lamp word, the swing's two bytes are left out.
TEST(DocumentTest, GivesEachOperatingValueItsBytes) {
  std::map<std::string, std::set<int>> listed;
  for (const cells_t& row : Rows({"Bytes", "Value", "Type", "Name"})) {
    const std::string name = row[3].substr(0, row[3].find(' '));  // "percent (in percent)"
    if (!name.empty()) listed[name].merge(Numbers(row[0]));
  }
  std::map<int, std::string> owners;  // later fields stand inside earlier ones
  for (const host::field_t& field : host::OperatingValuesCommand().fields) {
    for (int at = field.offset; at < field.offset + field.size; ++at) owners[at] = field.name;
  }
  std::map<std::string, std::set<int>> expected;
  for (const auto& [at, name] : owners) expected[name].insert(at);
  EXPECT_EQ(listed, expected);
}

std::string Key(const host::command_t& command) {
  return std::to_string(command.number) + (command.sub < 0 ? "" : ", " + std::to_string(command.sub));
}

// "byte 2: 0 off, otherwise on" as {"0": "off", "otherwise": "on"}.
pairs_t NumberedWords(const std::string& text) {
  static const std::regex ITEM("(\\d+|otherwise) (?:the )?([^,;:]+)");
  pairs_t words;
  for (std::sregex_iterator at(text.begin(), text.end(), ITEM), end; at != end; ++at)
    words[(*at)[1]] = Plain((*at)[2].str());
  return words;
}

TEST(DocumentTest, ListsEveryCommandWithItsLengthAndTheNamesOfItsValues) {
  const std::set<std::string_view> elsewhere = {"transition",
                                                "beep-duration"};  // a table; "as byte 1 of command 4"
  std::map<std::string, cells_t> rows;
  for (const cells_t& row : Rows({"Command", "Bytes", "Name", "Data"})) rows[row[0]] = row;
  EXPECT_EQ(rows.size(), host::Commands().size());
  for (const host::command_t& command : host::Commands()) {
    ASSERT_TRUE(rows.contains(Key(command))) << "no row for " << Key(command);
    const cells_t& row = rows[Key(command)];
    EXPECT_EQ(std::stoi(row[1]), command.leastLength) << command.name;
    EXPECT_EQ(Plain(row[2]), Plain(command.name));
    EXPECT_EQ(row[3] == "request", command.reply.frames > 0) << command.name;
    if (command.fields.empty() || elsewhere.contains(command.name)) continue;
    const pairs_t words = NumberedWords(row[3]);
    for (const auto& [number, name] : command.fields[0].names) {
      const auto word =
          words.contains(std::to_string(number)) ? words.at(std::to_string(number)) : words.at("otherwise");
      EXPECT_EQ(word == "silent" ? "off" : word, Plain(name)) << command.name << " " << int{number};
    }
  }
}

// "00 02 and characters 0 to 5 of 8, ...": the second byte is the number of frames.
TEST(DocumentTest, ListsEveryReplyWithItsFrames) {
  pairs_t listed = Pairs(Rows({"Request", "Frames of the reply"}));
  for (auto& [request, frames] : listed) frames.resize(5);
  pairs_t expected;
  for (const host::command_t& command : host::Commands()) {
    if (command.reply.frames > 0)
      expected[Key(command) + " " + std::string(command.name)] = "00 0" + std::to_string(command.reply.frames);
  }
  EXPECT_EQ(listed, expected);
}

}  // namespace
