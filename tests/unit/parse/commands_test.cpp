#include "parse/commands.h"

#include <gtest/gtest.h>

#include "core/command_counters.h"
#include "core/operating_values.h"
#include "parse/parse_thread.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

// The message of a command; bytes that are not given are 0xA5, as if an earlier message had left them.
DecapData_t Message(const std::vector<int>& bytes) {
  DecapData_t message;
  message.bytes.fill(0xA5);
  std::size_t at = 0;
  for (const int byte : bytes) message.bytes[at++] = static_cast<std::uint8_t>(byte);
  return message;
}

class Commands : public testing::Test {
 protected:
  Commands() {
    for (auto& count : CommandCounts) count = 0;
  }

  // The counters that are not 0, but for TOTAL CMDS, as "index:count ".
  static std::string Counts() {
    std::string text;
    for (std::size_t i = 0; i < COMMAND_COUNTERS; ++i) {
      if (CommandCounts[i] != 0 && i != COUNT_TOTAL_CMDS) {
        text += std::to_string(i) + ":" + std::to_string(CommandCounts[i]) + " ";
      }
    }
    return text;
  }

  TestRecord record;
};

TEST_F(Commands, SetOperatingValuesFromTheirBytes) {
  ParseMessage(record, Message({2,    0xEE,                 // CMD2, a byte that means nothing
                                0x46, 0x41, 0xBC, 0x00,     // capacity 12399.0, rounded down
                                0x46, 0x40, 0xF8, 0x00,     // load 12350.0, rounded half up
                                0x42, 0x0D, 0x99, 0x9A,     // radius 35.4
                                0xC1, 0x28, 0x00, 0x00,     // angle -10.5
                                0x41, 0xFC, 0x00, 0x00,     // extension 31.5
                                0x3F, 0x59, 0x99, 0x9A,     // 0.85 of the safe working load
                                6,                          // parts of line
                                0x78, 0x56, 0x34,           // lamps, bits 0 to 23
                                0xFF, 0x38,                 // swing -200 degrees
                                0x12,                       // lamps, bits 24 to 31
                                0x43, 0x48, 0x00, 0x00,     // piston pressure 200.0
                                0x42, 0xC8, 0x80, 0x00}));  // rod pressure 100.25
  EXPECT_EQ(record->capacity, 12300.0);
  EXPECT_EQ(record->load, 12400.0);
  EXPECT_FLOAT_EQ(static_cast<float>(record->radius), 35.4F);
  EXPECT_EQ(record->angle, -10.5);
  EXPECT_EQ(record->extension, 31.5);
  EXPECT_FLOAT_EQ(static_cast<float>(record->percentSafeWorkingLoad), 0.85F);
  EXPECT_EQ(record->partsOfLine, 6);
  EXPECT_EQ(record->ledState, 0x12345678U);
  EXPECT_EQ(record->swing, -200.0);
  EXPECT_EQ(record->pistonPressure, 200.0);
  EXPECT_EQ(record->rodPressure, 100.25);
  EXPECT_EQ(Counts(), "2:1 ");
  EXPECT_EQ(ParameterValue("OrvikTotalHX7Commands"), 1.0);
}

TEST_F(Commands, CountThemselves) {
  // Each command, and the one counter that it moves.
  const std::vector<std::pair<std::vector<int>, int>> counted = {
      {{0}, 0},         {{1}, 1},         {{4, 20}, 4}, {{6}, 6},        {{8, 7}, 26}, {{9, 200}, 26},
      {{10}, 28},       {{255}, 28},      {{7, 0}, 25}, {{7, 1, 0}, 7},  {{7, 3}, 9},  {{7, 4}, 10},
      {{7, 5}, 11},     {{7, 6, 12}, 12}, {{7, 7}, 13}, {{7, 8, 0}, 14}, {{7, 9}, 15}, {{7, 11, 2}, 17},
      {{7, 13, 6}, 19}, {{7, 20}, 25},    {{7, 21}, 25}};
  const ConsoleCapture console;
  for (const auto& [bytes, counter] : counted) {
    for (auto& count : CommandCounts) count = 0;
    ParseMessage(record, Message(bytes));
    EXPECT_EQ(Counts(), std::to_string(counter) + ":1 ") << testing::PrintToString(bytes);
    EXPECT_EQ(CommandCounts[COUNT_TOTAL_CMDS], 1U);
  }
  for (auto& count : CommandCounts) count = 0;
  for (const int uncounted : {18, 19}) ParseMessage(record, Message({7, uncounted, 1, 2, 3, 4}));
  EXPECT_EQ(Counts(), "");
}

TEST_F(Commands, SetWhatTheyName) {
  const ConsoleCapture console;
  for (const DecapData_t& message :
       {Message({4, 20}), Message({8, 7}), Message({9, 8}), Message({7, 2, 9}), Message({7, 8, 3}),
        Message({7, 11, 1}), Message({7, 12, 5}), Message({7, 13, 3}), Message({7, 16, 4}), Message({7, 17, 6}),
        Message({7, 18, 2, 3, 4, 5}), Message({7, 19, 6})}) {
    ParseMessage(record, message);
  }
  const orvikData_t& data = *record.Get();
  EXPECT_EQ(std::vector<int>({data.beeperState, data.beeperDuration, data.commandProtocolVersion}),
            std::vector({3, 20, 7}));
  EXPECT_EQ(std::vector<int>({data.dynamicEncryptionMethod, data.brightnessAdjustEnabled, data.displayMode}),
            std::vector({8, 1, 3}));
  EXPECT_EQ(std::vector<int>({data.units, data.displayType, data.language, data.lcdColumns}),
            std::vector({1, 5, 3, 24}));
  EXPECT_EQ(std::vector<int>({data.erectedIcon, data.stowedIcon, data.swingMode}), std::vector({4, 6, 6}));
  EXPECT_EQ(std::vector<int>({data.outriggerColors.tires, data.outriggerColors.extended}), std::vector({2, 5}));

  ParseMessage(record, Message({7, 10, 255}));
  EXPECT_EQ(record->beeperState, 0);
  ParseMessage(record, Message({7, 11, 9}));  // refused
  EXPECT_EQ(record->units, 1);
}

TEST_F(Commands, ValidKeysBeyondTheMapAreReportedAndLeftOut) {
  const auto masks = [this](std::size_t i) { return unsigned{record->keyMasks[i]}; };
  for (auto& mask : record->keyMasks) mask = 0x7F;
  ParseMessage(record, Message({7, 1, 3, 0, 1, 0x7F, 9}));
  EXPECT_EQ(std::vector({masks(0), masks(1), masks(2), masks(3)}), std::vector({0U, 1U, 0x7FU, 0x7FU}));

  ConsoleCapture console;
  ParseMessage(record, Message({7, 1, 255, 5}));
  EXPECT_EQ(record->keyMasks[0], 5U);
  EXPECT_EQ(record->keyMasks[23], 0xA5U);
  EXPECT_EQ(console.Err(), "***** ERROR!  Valid keys count.  max=24, count=255\n");
}

TEST_F(Commands, QueuedMessagesAreHandledInOrderAndKeepTheWatchdogQuiet) {
  record->watchdogSeconds = 9;
  ParseQueuedMessages(record);  // nothing waits: no sign of life
  EXPECT_EQ(record->watchdogSeconds, 9);

  addDecapData(record, Message({7, 19, 1}));
  addDecapData(record, Message({7, 19, 2}));
  ParseQueuedMessages(record);
  EXPECT_EQ(record->swingMode, 2);
  EXPECT_EQ(record->watchdogSeconds, 0);
  EXPECT_EQ(CommandCounts[COUNT_TOTAL_CMDS], 2U);
  ParseQueuedMessages(record);
  EXPECT_EQ(CommandCounts[COUNT_TOTAL_CMDS], 2U);
}

}  // namespace
