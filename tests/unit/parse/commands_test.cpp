// The host's commands: their counters, the lengths for which they are refused, and the fields of their text.
#include <tuple>

#include <gtest/gtest.h>

#include "src/core/command_counters.h"
#include "src/core/operating_values.h"
#include "src/parse/cmd2.h"
#include "src/parse/cmd3.h"
#include "src/parse/cmd5.h"
#include "src/parse/cmd7.h"
#include "src/parse/parse_thread.h"
#include "src/text/fields.h"
#include "src/text/system_text.h"
#include "tests/support/console_capture.h"
#include "tests/support/grid_text.h"
#include "tests/support/test_record.h"

namespace {

using namespace std::string_literals;

class CommandsTest : public testing::Test {
 protected:
  CommandsTest() {
    InitAllFields();
    record_->blankChar = '_';
    record_->spaceChar = '_';
  }

  // The rest of the block is filled with `rest`, as an earlier message would leave it.
  void Send(const std::string& bytes, std::uint8_t rest = 0) {
    DecapData_t message;
    message.bytes.fill(rest);
    std::copy(bytes.begin(), bytes.end(), message.bytes.begin());
    ParseMessage(record_, message);
  }

  // The counters that are not 0, except TOTAL CMDS, as "index:count ".
  static std::string Counts() {
    std::string text;
    for (std::size_t i = 0; i < COMMAND_COUNTERS; ++i) {
      if (CommandCounts[i] != 0 && i != COUNT_TOTAL_CMDS) {
        text += std::to_string(i) + ":" + std::to_string(CommandCounts[i]) + " ";
      }
    }
    return text;
  }

  RecordWithoutDatabase record_;
};

TEST_F(CommandsTest, CountThemselves) {
  // Each command, and the only counter that it increments.
  const std::vector<std::pair<std::vector<char>, int>> counted = {
      {{0}, 0},          {{1}, 1},          {{2}, 2},         {{3}, 3},         {{4, 20}, 4},
      {{5}, 5},          {{6}, 6},          {{8, 7}, 26},     {{9, 100}, 26},   {{10}, 28},
      {{'\xFF'}, 28},    {{7, 0}, 25},      {{7, 1, 0}, 7},   {{7, 2, 3}, 8},   {{7, 3}, 9},
      {{7, 4}, 10},      {{7, 5}, 11},      {{7, 6, 12}, 12}, {{7, 7}, 13},     {{7, 8, 5}, 14},
      {{7, 9}, 15},      {{7, 10, 30}, 16}, {{7, 11, 1}, 17}, {{7, 11, 2}, 17}, {{7, 12, 8}, 18},
      {{7, 13, 4}, 19},  {{7, 13, 6}, 19},  {{7, 14, 9}, 20}, {{7, 15, 2}, 21}, {{7, 16, 10}, 22},
      {{7, 17, 11}, 23}, {{7, 20}, 25},     {{7, 21}, 25}};
  const ConsoleCapture console;
  for (const auto& [bytes, counter] : counted) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    for (auto& count : CommandCounts) count = 0;
    Send({bytes.begin(), bytes.end()}, 0xA5);
    EXPECT_EQ(Counts(), std::to_string(counter) + ":1 ");
    EXPECT_EQ(CommandCounts[COUNT_TOTAL_CMDS], 1U);
  }
  const std::vector<int> stored = {record_->brightnessAdjustEnabled,
                                   record_->displayMode,
                                   record_->units,
                                   record_->displayType,
                                   record_->language,
                                   record_->selectMode,
                                   record_->erectedIcon,
                                   record_->stowedIcon,
                                   record_->beeperDuration,
                                   record_->commandProtocolVersion,
                                   record_->dynamicEncryptionMethod};
  EXPECT_EQ(stored, (std::vector{1, 5, 1, 8, 4, 1, 10, 11, 30, 7, 100}));
  for (auto& count : CommandCounts) count = 0;
  for (const char* uncounted : {"\x07\x12\x02\x03\x04\x05", "\x07\x13\x01"}) Send(uncounted);
  EXPECT_EQ(Counts(), "");
  EXPECT_EQ(record_->swingMode, 1);
  const outrigger_colors_t& colors = record_->outriggerColors;
  EXPECT_EQ((std::vector<int>{colors.tires, colors.retracted, colors.half, colors.extended}),
            (std::vector{2, 3, 4, 5}));
}

TEST_F(CommandsTest, ValidKeysBeyondTheMapAreReportedAndLeftOut) {
  const auto masks = [this](std::size_t i) { return unsigned{record_->keyMasks[i]}; };
  for (auto& mask : record_->keyMasks) mask = 0x7F;
  Send("\x07\x01\x03\x00\x01\x7F\x09"s);
  EXPECT_EQ(std::vector({masks(0), masks(1), masks(2), masks(3)}), std::vector({0U, 1U, 0x7FU, 0x7FU}));

  ConsoleCapture console;
  Send("\x07\x01\xFF\x05", 0xA5);
  EXPECT_EQ(record_->keyMasks[0], 5U);
  EXPECT_EQ(record_->keyMasks[23], 0xA5U);
  EXPECT_EQ(console.Err(), "***** ERROR!  Valid keys count.  max=24, count=255\n");
}

TEST_F(CommandsTest, FillTheFieldsWithTheirTextUpToTheEndOfTheBlock) {
  ConsoleCapture console;
  Send(
      "\x05"
      "\x00\x14"               // mainLen 20
      "\x00\x07\x00\x11HELLO"  // field 17, centre of line 1
      "\x00\x04\x00\x1EST"     // field 30, the stowed label
      "\x00\x03\x09\x11!"s);   // field 17 again
  EXPECT_EQ(GridLine(record_, 0), "________________HELLO_!_________________");
  EXPECT_EQ(StowedText(record_), "ST");
  EXPECT_EQ(console.Out() + console.Err(), "");

  ShowSystemText(record_, "LOST");
  Send("\x05\x00\x06\x00\x04\x00\x10\xC3X"s);  // other fields are cleared, ill-formed bytes are marked
  EXPECT_FALSE(SystemTextShown());
  EXPECT_EQ(GridLine(record_, 0), "#X______________________________________");
  EXPECT_EQ(StowedText(record_), "");

  // mainLen 253, subLen 251: 249 bytes of text, which fill the block to its last byte.
  Send("\x05\x00\xFD\x00\xFB\x00\x1E"s + std::string(248, 'a') + "b");
  EXPECT_EQ(StowedText(record_), std::string(248, 'a') + "b");
}

TEST_F(CommandsTest, AreRefusedForBadLengths) {
  const auto sub = [](int length) {
    return "***** ERROR!  Cmd5 sub command length.  min=3, max=800, subLen=" + std::to_string(length) +
           "\nError!  ProcessSubCommand returned failure\n";
  };
  // Name, message, standard output, standard error, and the text of the first field afterwards.
  const std::tuple<const char*, std::string, std::string, std::string, std::string> refused[] = {
      {"802 bytes, all but one text absent", "\x05\x03\x22\x00\x03\x00\x10X"s, "", sub(0), "X"},
      {"a text of no bytes", "\x05\x00\x06\x00\x02\x00\x10\x00\x00"s, "", sub(2), ""},
      {"a second text of no bytes", "\x05\x00\x09\x00\x03\x00\x10X\x00\x02\x00\x10"s, "", sub(2), "X"},
      {"a text of 801 bytes", "\x05\x00\x06\x03\x21\x00\x10XY"s, "", sub(801), ""},
      {"a text that ends behind the block", "\x05\x00\xFF\x00\xFC\x00\x10XY"s, "", sub(252), ""},
      {"a length that the end of the block cuts",
       "\x05\x01\x00\x00\xF9\x00\x00"s + std::string(247, '-') + "\x00"s, "", sub(0), ""},
      {"flash of 1", "\x03\x00\x01\x07\x00\x4A"s,
       "Orvik: ERROR! Flash message underrun, len=1, index=7, first=0x4a\n", "", "old"},
      {"flash behind the block", "\x03\x00\xFE\x07\x00\x4A"s, "",
       "Orvik: ERROR! Flash message overrun, len=254, index=7, first=0x4a\n", "old"},
  };
  Send("\x03\x00\x03\x00\x00X"s);
  const std::vector<unsigned> flash = record_->flashLine;
  for (const auto& [name, message, out, err, left] : refused) {
    SCOPED_TRACE(name);
    Send("\x05\x00\x07\x00\x05\x00\x10old"s);
    ConsoleCapture console;
    Send(message);
    EXPECT_EQ(console.Out(), out);
    EXPECT_EQ(console.Err(), err);
    EXPECT_EQ(FieldToText(fieldLine1Left), left);
    EXPECT_EQ(record_->flashLine, flash);
  }
}

TEST_F(CommandsTest, CentreTheFlashMessage) {
  const std::tuple<int, std::string, std::size_t> flashes[] = {
      {0, "HELLO", 12}, {0, "HELLO!", 11},           {0, std::string(28, 'x'), 0}, {0, std::string(40, 'x'), 0},
      {3, "HELLO", 8},  {3, std::string(21, 'x'), 0}};
  for (const auto& [language, text, blanks] : flashes) {
    SCOPED_TRACE(text + " in language " + std::to_string(language));
    SetLanguage(record_, language);
    record_->blankChar = '_';
    Send("\x03\x00"s + static_cast<char>(text.size() + 2) + "\x05\x00"s + text);
    ASSERT_EQ(record_->flashLine.size(), blanks + text.size());
    EXPECT_EQ(std::count(record_->flashLine.begin(), record_->flashLine.end(), '_'),
              static_cast<std::ptrdiff_t>(blanks));
    EXPECT_EQ(record_->flashLine.back(),
              static_cast<unsigned char>(text.back()) + (language == 3 ? 0xFEE0U : 0U));
  }
}

}  // namespace
