// The configuration, and the key queue under two producing threads.
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "src/core/generic_config.h"
#include "src/core/key_queue.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

TEST(GenericConfigurationTest, FillsIdentityAndNamesInAnyOrderOfSections) {
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

// The producers push the codes 1 to 120 and 121 to 240 in rounds. No code of a producer may be
// missing, doubled or out of order.
TEST(KeyQueueTest, LosesAndDoublesNoKeyOfTwoProducers) {
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
