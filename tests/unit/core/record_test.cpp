// The record: its values and their rounding, the names of the configuration, and the queues between the
// threads.
#include <array>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "src/core/generic_config.h"
#include "src/core/operating_values.h"
#include "src/core/orvik_data.h"
#include "src/core/queues.h"
#include "src/core/text_helpers.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

TEST(Setters, RoundCapacityDownAndLoadHalfUp) {
  TestRecord record;
  struct case_t {
    double sent, capacity, load;
  };
  for (const case_t& c : {case_t{12399.0, 12300, 12400},
                          {12350.0, 12300, 12400},
                          {12349.0, 12300, 12300},
                          {0.0, 0, 0},
                          {49.9, 0, 0},
                          {50.0, 0, 100},
                          {-150.0, -100, -100},
                          {1e30, 1e30, 1e30}}) {
    SetCapacity(record, c.sent);
    SetLoad(record, c.sent);
    EXPECT_DOUBLE_EQ(record->capacity, c.capacity) << c.sent;
    EXPECT_DOUBLE_EQ(record->load, c.load) << c.sent;
    EXPECT_DOUBLE_EQ(ParameterValue("OrvikCapacity"), c.capacity);
    EXPECT_DOUBLE_EQ(ParameterValue("OrvikLoad"), c.load);
  }
}

TEST(Setters, TakeTheGridAndItsBlankFromLanguageAndSystemVersion) {
  TestRecord record;
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

TEST(Dates, AreReformattedAndUnknownMonthsAreMinusOne) {
  struct case_t {
    const char *in, *out;
  };
  for (const case_t& c : {case_t{"Aug 27 2013", "08/27/13"},
                          {"Jan  7 2024", "01/07/24"},
                          {"Dec 31 1999", "12/31/99"},
                          {"Foo 01 2000", "-1/01/00"},
                          {"", "-1/00/00"}}) {
    std::array<char, 32> out{};
    FormatDate(out.data(), c.in);
    EXPECT_STREQ(out.data(), c.out);
  }
  std::array<char, 4> text{};
  StringToCharArray(text.data(), "longer than that", 4);
  EXPECT_STREQ(text.data(), "lon");
}

TEST(GenericConfiguration, FillsIdentityAndNamesInAnyOrderOfSections) {
  TestRecord record;
  record->variableHandles.clear();
  std::istringstream stream(R"(<?xml version="1.0"?><!-- names -->
    <orvik-generic CT-version="1" createdBy="me" version="2" xml-date="d"><App id="7" name="N"/>
    <Events channel="E"><Event name="e" id="4"/><Event name="e" id="5"/><Action name="no" id="1"/></Events>
    <Unknown><Action name="no" id="1"/></Unknown><Action name="no" id="1"/>
    <ScreenApi><Object name="w" id="9"/></ScreenApi>
    <Variables><Variable name="load" var="OrvikLoad"/><Variable name="x" var="NoSuchParameter"/></Variables>
    <Actions channel="A"><Action name="a" id="3"/></Actions></orvik-generic>)");
  ConsoleCapture console;
  parseGeneric(stream, record);
  EXPECT_EQ(console.Err(), "");
  EXPECT_EQ(record->ctVersion + record->createdBy + record->configVersion + record->xmlDate, "1me2d");
  EXPECT_EQ(record->appId, 7);
  EXPECT_EQ(record->appName, "N");
  EXPECT_EQ(record->eventChannelName, "E");
  EXPECT_EQ(record->actionChannelName, "A");
  EXPECT_EQ(record->eventIds, (name_map_t{{"e", 4}}));
  EXPECT_EQ(record->actionIds, (name_map_t{{"a", 3}}));
  EXPECT_EQ(record->screenObjectIds, (name_map_t{{"w", 9}}));
  EXPECT_EQ(record->variableHandles.size(), 1U);
  EXPECT_EQ(record->variableHandles.at("load"), static_cast<int>(record->variables.load));
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

TEST(HandOverQueues, KeepTheOrderAndTakeTheWholeBacklog) {
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
      << "what the consumer still had stays in front";
  EXPECT_EQ(data.canPackets.capacity(), 0U);
}

TEST(HandOverQueues, DropAndCountWhatComesBeyondTheirBound) {
  orvikData_t data;
  for (std::size_t i = 0; i < MAX_QUEUED_MESSAGES + 3; ++i) addDecapData(&data, DecapData_t{});
  EXPECT_EQ(data.decapData.size(), MAX_QUEUED_MESSAGES);
  EXPECT_EQ(data.decapDataDropped, 3U);
  getDecapData(&data);
  addDecapData(&data, DecapData_t{});
  EXPECT_EQ(data.decapData.size(), 1U) << "a consumer that caught up makes room";
}

TEST(KeyQueue, GivesKeysInOrderAndRefusesTheNewKeyWhenFull) {
  orvikData_t data;
  EXPECT_EQ(getKeyData(&data), 0U);
  for (unsigned key = 1; key <= KeyQueue::CAPACITY; ++key) addKeyData(&data, static_cast<unsigned char>(key));
  addKeyData(&data, 99);
  EXPECT_EQ(data.lastKey, static_cast<int>(KeyQueue::CAPACITY));
  for (std::uint32_t key = 1; key <= KeyQueue::CAPACITY; ++key) EXPECT_EQ(getKeyData(&data), key);
  EXPECT_EQ(getKeyData(&data), 0U);
}

// Each producer pushes its own codes, 1 up to 120 and 121 up to 240, round and round; per producer none may be
// missing, doubled or out of order.
TEST(KeyQueue, LosesAndDoublesNoKeyOfTwoProducers) {
  constexpr unsigned KEYS = 60'000;
  constexpr unsigned ROUND = 120;
  KeyQueue queue;
  const auto produce = [&queue](unsigned base) {
    for (unsigned i = 0; i < KEYS; ++i) {
      while (!queue.Push(static_cast<std::uint8_t>(base + i % ROUND))) std::this_thread::yield();
    }
  };
  std::thread first(produce, 1U);
  std::thread second(produce, 1U + ROUND);
  unsigned counts[2] = {0, 0};
  for (unsigned taken = 0; taken < 2 * KEYS;) {
    std::uint8_t key = 0;
    if (!queue.Pop(key)) {
      std::this_thread::yield();
      continue;
    }
    const unsigned producer = key > ROUND ? 1 : 0;
    ASSERT_EQ(key, 1 + producer * ROUND + counts[producer] % ROUND);
    ++counts[producer];
    ++taken;
  }
  first.join();
  second.join();
}

}  // namespace
