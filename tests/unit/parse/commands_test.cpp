#include "parse/commands.h"

#include <initializer_list>

#include <gtest/gtest.h>

#include "core/command_counters.h"
#include "core/operating_values.h"
#include "parse/parse_thread.h"
#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

// The message of a command; bytes that are not given are 0xA5, as if an earlier message had left them.
DecapData_t Message(std::initializer_list<int> bytes) {
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

  EXPECT_EQ(ParameterValue("OrvikCapacity"), 12300.0);
  EXPECT_EQ(ParameterValue("OrvikLoad"), 12400.0);
  EXPECT_EQ(ParameterValue("OrvikSwing"), -200.0);
  EXPECT_EQ(ParameterValue("OrvikPistonPressure"), 200.0);
  EXPECT_EQ(ParameterValue("OrvikRodPressure"), 100.25);
  EXPECT_EQ(ParameterValue("OrvikTotalHX7Commands"), 1.0);
}

TEST_F(Commands, LoadBelowTheHalfIsRoundedDown) {
  ParseMessage(record, Message({2, 0, 0, 0, 0, 0, 0x46, 0x40, 0xF4, 0x00}));  // 12349.0
  EXPECT_EQ(record->load, 12300.0);
  EXPECT_EQ(record->capacity, 0.0);
}

struct Handled_t {
  const char* what;
  DecapData_t message;
  std::string counts;
  std::string out;
  std::string err;
};

TEST_F(Commands, CountAndReportAsTheHostProtocolSays) {
  const std::vector<Handled_t> handled = {
      {"0", Message({0}), "0:1 ", "",
       "Orvik: ***** ERROR!  Unexpected Initialize LCD command ( Cmd0 ) *****\n"},
      {"1", Message({1}), "1:1 ", "", ""},
      {"4", Message({4, 20}), "4:1 ", "", ""},
      {"6", Message({6}), "6:1 ", "", "***** ERROR!  Return key status request in parse thread!\n"},
      {"8", Message({8, 7}), "26:1 ", "SetCommandProtocolVersion 7\n", ""},
      {"9", Message({9, 200}), "26:1 ", "SetDynamicEncryptionMethod 200\n", ""},
      {"10", Message({10}), "28:1 ", "", "***** ERROR! Unrecognized command ( 10 ) ! *****\n"},
      {"255", Message({255}), "28:1 ", "", "***** ERROR! Unrecognized command ( 255 ) ! *****\n"},
      {"7,1", Message({7, 1, 0}), "7:1 ", "", ""},
      {"7,3", Message({7, 3}), "9:1 ", "", "***** ERROR!  Program Name request in parse thread!\n"},
      {"7,4", Message({7, 4}), "10:1 ", "", "***** ERROR!  Program Date request in parse thread!\n"},
      {"7,5", Message({7, 5}), "11:1 ", "", "***** ERROR!  Program ID request in parse thread!\n"},
      {"7,6", Message({7, 6, 12}), "12:1 ", "", "***** ERROR!  UNUSED SET POL cmd ( 7, 6 ) received: 12\n"},
      {"7,7", Message({7, 7}), "13:1 ", "", "***** ERROR!  LCD status request in parse thread!\n"},
      {"7,8,0", Message({7, 8, 0}), "14:1 ", "Set display mode: Thousands\n", ""},
      {"7,8,2", Message({7, 8, 2}), "14:1 ", "Set display mode: Units ( with trailing zeroes )\n", ""},
      {"7,9", Message({7, 9}), "15:1 ", "", "***** ERROR!  LED brightness level request in parse thread!\n"},
      {"7,11,2", Message({7, 11, 2}), "17:1 ", "", "Orvik: ERROR!  Illegal units id 2\n"},
      {"7,13,6", Message({7, 13, 6}), "19:1 ", "", "Orvik: ERROR!  Illegal language id 6\n"},
      {"7,18", Message({7, 18, 1, 2, 3, 4}), "", "", ""},
      {"7,19", Message({7, 19, 1}), "", "", ""},
      {"7,0", Message({7, 0}), "25:1 ", "", "***** ERROR!  Unknown extended command (0\n"},
      {"7,20", Message({7, 20}), "25:1 ", "", "***** ERROR!  Unknown extended command (20\n"},
      {"7,21", Message({7, 21}), "25:1 ", "", "***** ERROR!  Unknown extended command (21\n"},
  };
  for (const Handled_t& h : handled) {
    for (auto& count : CommandCounts) count = 0;
    ConsoleCapture console;
    ParseMessage(record, h.message);
    EXPECT_EQ(Counts(), h.counts) << "command " << h.what;
    EXPECT_EQ(CommandCounts[COUNT_TOTAL_CMDS], 1U) << "command " << h.what;
    EXPECT_EQ(console.Out(), h.out) << "command " << h.what;
    EXPECT_EQ(console.Err(), h.err) << "command " << h.what;
  }
}

TEST_F(Commands, SetWhatTheyName) {
  const ConsoleCapture console;
  for (const DecapData_t& message : {
           Message({4, 20}),
           Message({8, 7}),
           Message({9, 8}),
           Message({7, 2, 9}),
           Message({7, 8, 3}),
           Message({7, 11, 1}),
           Message({7, 12, 5}),
           Message({7, 13, 3}),
           Message({7, 16, 4}),
           Message({7, 17, 6}),
           Message({7, 18, 2, 3, 4, 5}),
           Message({7, 19, 6}),
       }) {
    ParseMessage(record, message);
  }
  EXPECT_EQ(record->beeperState, 3);
  EXPECT_EQ(record->beeperDuration, 20);
  EXPECT_EQ(record->commandProtocolVersion, 7);
  EXPECT_EQ(record->dynamicEncryptionMethod, 8);
  EXPECT_EQ(record->brightnessAdjustEnabled, 1);
  EXPECT_EQ(record->displayMode, 3);
  EXPECT_EQ(record->units, 1);
  EXPECT_EQ(record->displayType, 5);
  EXPECT_EQ(record->language, 3);
  EXPECT_EQ(record->lcdColumns, 24);
  EXPECT_EQ(record->erectedIcon, 4);
  EXPECT_EQ(record->stowedIcon, 6);
  EXPECT_EQ(record->outriggerColors.tires, 2);
  EXPECT_EQ(record->outriggerColors.extended, 5);
  EXPECT_EQ(record->swingMode, 6);

  ParseMessage(record, Message({7, 10, 255}));
  EXPECT_EQ(record->beeperState, 0);
  ParseMessage(record, Message({7, 11, 9}));  // refused
  EXPECT_EQ(record->units, 1);
}

TEST_F(Commands, ValidKeysBeyondTheMapAreReportedAndLeftOut) {
  for (auto& mask : record->keyMasks) mask = 0x7F;
  ParseMessage(record, Message({7, 1, 3, 0, 1, 0x7F, 9}));
  EXPECT_EQ(record->keyMasks[0], 0U);
  EXPECT_EQ(record->keyMasks[1], 1U);
  EXPECT_EQ(record->keyMasks[2], 0x7FU);
  EXPECT_EQ(record->keyMasks[3], 0x7FU);

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
