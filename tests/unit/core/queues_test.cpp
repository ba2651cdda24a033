#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/orvik_data.h"

namespace {

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
  for (unsigned key = 1; key <= KeyQueue_t::CAPACITY; ++key) addKeyData(&data, static_cast<unsigned char>(key));
  addKeyData(&data, 99);
  EXPECT_EQ(data.lastKey, static_cast<int>(KeyQueue_t::CAPACITY));
  for (std::uint32_t key = 1; key <= KeyQueue_t::CAPACITY; ++key) EXPECT_EQ(getKeyData(&data), key);
  EXPECT_EQ(getKeyData(&data), 0U);
}

// Each producer pushes its own codes, 1 up to 120 and 121 up to 240, round and round; per producer none may be
// missing, doubled or out of order.
TEST(KeyQueue, LosesAndDoublesNoKeyOfTwoProducers) {
  constexpr unsigned KEYS = 60'000;
  constexpr unsigned ROUND = 120;
  KeyQueue_t queue;
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
