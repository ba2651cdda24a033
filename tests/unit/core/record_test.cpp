// The record: the text grid of a language, dates, and the queues between the threads.
#include <array>
#include <vector>

#include <gtest/gtest.h>

#include "src/core/operating_values.h"
#include "src/core/orvik_data.h"
#include "src/core/queues.h"
#include "src/core/text_helpers.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

TEST(SettersTest, TakeTheGridAndItsBlankFromLanguageAndSystemVersion) {
  RecordWithoutDatabase record;
  struct case_t {
    int language;
    double osVersion;
    int columns;
    std::uint32_t blank, underscore, valid, invalid;
  };
  for (const case_t& c : {case_t{0, 6.5, 40, 0xA0, 0x5F, 0x7B, 0x7D},
                          {5, 2 + 3 / 10.0, 40, 0x20, 0x5F, 0x7B, 0x7D},
                          {4, 2.4, 40, 0xA0, 0x5F, 0x7B, 0x7D},
                          {3, 2.3, 24, 0x3000, 0xFF3F, 0xFF5B, 0xFF5D}}) {
    SCOPED_TRACE("language " + std::to_string(c.language) + ", system " + std::to_string(c.osVersion));
    record->osVerRev = c.osVersion;
    SetLanguage(record, c.language);
    EXPECT_EQ(record->lcdSize, 4 * c.columns);
    EXPECT_EQ(record->blankChar, c.blank);
    EXPECT_EQ(record->spaceChar, c.blank);
    EXPECT_EQ(record->underscoreChar, c.underscore);
    EXPECT_EQ(record->validNonPrintableChar, c.valid);
    EXPECT_EQ(record->invalidNonPrintableChar, c.invalid);
    EXPECT_EQ(record->expandFullWidth, c.language == 3 ? 1 : 0);
  }
}

TEST(DatesTest, AreReformattedAndUnknownMonthsAreMinusOne) {
  const std::pair<const char*, const char*> cases[] = {{"Aug 27 2013", "08/27/13"},
                                                       {"Jan  7 2024", "01/07/24"},
                                                       {"Dec 31 1999", "12/31/99"},
                                                       {"Foo 01 2000", "-1/01/00"},
                                                       {"", "-1/00/00"}};
  for (const auto& [in, expected] : cases) {
    std::array<char, 32> out{};
    FormatDate(out.data(), in);
    EXPECT_STREQ(out.data(), expected) << in;
  }
  std::array<char, 4> text{};
  StringToCharArray(text.data(), "longer than that", 4);
  EXPECT_STREQ(text.data(), "lon");
}

CAN_packet_t2 Frame(std::uint32_t id) {
  CAN_packet_t2 frame;
  frame.canID = id;
  return frame;
}

std::vector<std::uint32_t> Ids(const std::vector<CAN_packet_t2>& frames) {
  std::vector<std::uint32_t> ids;
  for (const CAN_packet_t2& frame : frames) ids.push_back(frame.canID);
  return ids;
}

TEST(HandOverQueuesTest, KeepTheOrderAndTakeTheWholeBacklog) {
  orvikData_t data;
  getCanPackets(&data);
  EXPECT_TRUE(data.canWork.empty());
  for (const std::uint32_t id : {1U, 2U}) addCanPacket(&data, Frame(id));
  getCanPackets(&data);
  addCanPacket(&data, Frame(3));
  EXPECT_EQ(Ids(data.canWork), (std::vector<std::uint32_t>{1, 2}));
  EXPECT_EQ(Ids(data.canPackets), (std::vector<std::uint32_t>{3}));
  getCanPackets(&data);
  EXPECT_EQ(Ids(data.canWork), (std::vector<std::uint32_t>{1, 2, 3}))
      << "items that the consumer has not handled yet stay in front";
  EXPECT_EQ(data.canPackets.capacity(), 0U);
}

TEST(HandOverQueuesTest, DropAndCountWhatComesBeyondTheirBound) {
  orvikData_t data;
  ConsoleCapture console;
  for (std::size_t i = 0; i < MAX_QUEUED_MESSAGES + 1003; ++i) addDecapData(&data, DecapData_t{});
  EXPECT_EQ(console.Err(),
            "Orvik: ERROR!  Message queue full, dropped 1\nOrvik: ERROR!  Message queue full, dropped 1001\n");
  EXPECT_EQ(data.decapData.size(), MAX_QUEUED_MESSAGES);
  EXPECT_EQ(data.decapDataDropped, 1003U);
  getDecapData(&data);
  addDecapData(&data, DecapData_t{});
  EXPECT_EQ(data.decapData.size(), 1U) << "an empty queue accepts messages again";
}

TEST(KeyQueueTest, GivesKeysInOrderAndRefusesTheNewKeyWhenFull) {
  orvikData_t data;
  EXPECT_EQ(getKeyData(&data), 0U);
  for (unsigned key = 1; key <= KeyQueue::CAPACITY; ++key) addKeyData(&data, static_cast<unsigned char>(key));
  addKeyData(&data, 99);
  EXPECT_EQ(data.lastKey, static_cast<int>(KeyQueue::CAPACITY));
  for (std::uint32_t key = 1; key <= KeyQueue::CAPACITY; ++key) EXPECT_EQ(getKeyData(&data), key);
  EXPECT_EQ(getKeyData(&data), 0U);
}

}  // namespace
