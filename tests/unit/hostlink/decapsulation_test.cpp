#include "hostlink/decapsulation.h"

#include <gtest/gtest.h>

#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

using frame_t = std::array<std::uint8_t, 8>;

CAN_packet_t2 Packet(const frame_t& bytes) {
  CAN_packet_t2 packet;
  packet.canID = HOST_FRAME_ID;
  packet.data = bytes;
  return packet;
}

// The first `size` bytes of each message that the frames complete.
std::vector<std::vector<int>> Decode(Decapsulator& decapsulator, const std::vector<frame_t>& frames,
                                     std::size_t size) {
  std::vector<std::vector<int>> messages;
  for (const frame_t& frame : frames) {
    if (!decapsulator.DecodeFrame(Packet(frame))) continue;
    const auto& bytes = decapsulator.Message().bytes;
    messages.emplace_back(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
  }
  return messages;
}

TEST(Decapsulator, JoinsFramesInSequenceAndDropsAllOthers) {
  const frame_t one = {0, 1, 5, 1, 2, 3, 4, 6};
  const frame_t first = {0, 3, 2, 10, 11, 12, 13, 14};
  const frame_t second = {1, 15, 16, 17, 18, 19, 20, 21};
  const frame_t third = {2, 22, 23, 24, 25, 26, 27, 28};
  const std::vector<int> single = {5, 1, 2, 3, 4, 6, 0, 0};
  const std::vector<int> joined = {2, 10, 11, 12, 13, 14, 15, 16};
  struct Conversation_t {
    const char* what;
    std::vector<frame_t> frames;
    std::vector<std::vector<int>> messages;  // their first eight bytes
  };
  const std::vector<Conversation_t> conversations = {
      {"one frame", {one}, {single}},
      {"three frames", {first, second, third}, {joined}},
      {"two messages", {one, first, second, third}, {single, joined}},
      {"a later frame while waiting", {second, third}, {}},
      {"a frame count of 0", {{0, 0, 5, 1, 2, 3, 4, 6}, second}, {}},
      {"a gap", {first, third, second}, {}},
      {"a repeated frame", {first, second, second, third}, {}},
      {"a first frame while collecting is dropped too", {first, one, second, third}, {}},
      {"and the next message is whole again", {first, one, one}, {single}},
  };
  for (const Conversation_t& c : conversations) {
    Decapsulator decapsulator;
    EXPECT_EQ(Decode(decapsulator, c.frames, 8), c.messages) << c.what;
    EXPECT_FALSE(decapsulator.IsCollecting()) << c.what;
  }
}

TEST(Decapsulator, LeavesWhatAnEarlierMessageLeftBehindTheMessage) {
  Decapsulator decapsulator;
  const auto messages =
      Decode(decapsulator,
             {{0, 2, 1, 2, 3, 4, 5, 6}, {1, 7, 8, 9, 10, 11, 12, 13}, {0, 1, 21, 22, 23, 24, 25, 26}}, 14);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[1], (std::vector<int>{21, 22, 23, 24, 25, 26, 7, 8, 9, 10, 11, 12, 13, 0}));
}

// The frames of a message whose bytes count up from 0.
std::vector<frame_t> CountingMessage(std::uint8_t frames) {
  std::vector<frame_t> message;
  std::uint8_t byte = 0;
  for (std::uint8_t number = 0; number < frames; ++number) {
    frame_t frame{number};
    if (number == 0) frame[1] = frames;
    for (std::size_t i = number == 0 ? 2 : 1; i < frame.size(); ++i) frame[i] = byte++;
    message.push_back(frame);
  }
  return message;
}

TEST(Decapsulator, TakesWhatFitsTheBlockAndConsumesTheFramesOfWhatDoesNot) {
  Decapsulator decapsulator;
  const auto longest = Decode(decapsulator, CountingMessage(36), 252);
  ASSERT_EQ(longest.size(), 1U);
  EXPECT_EQ(longest[0][250], 250);
  EXPECT_EQ(longest[0][251], 0);

  for (const std::uint8_t frames : {std::uint8_t{37}, std::uint8_t{255}}) {
    ConsoleCapture console;
    EXPECT_TRUE(Decode(decapsulator, CountingMessage(frames), 1).empty());
    EXPECT_FALSE(decapsulator.IsCollecting());
    EXPECT_EQ(console.Err(),
              "Orvik: ERROR!  Message of " + std::to_string(frames) + " frames exceeds maximum of 36\n");
  }
  EXPECT_EQ(Decode(decapsulator, {{0, 1, 9, 9, 9, 9, 9, 9}}, 1).size(), 1U);
}

TEST(DecapsulateQueuedFrames, SpreadsAMessageOverSeveralBatches) {
  TestRecord record;
  Decapsulator decapsulator;
  const auto frames = CountingMessage(3);
  for (const frame_t& frame : frames) {
    EXPECT_TRUE(record->decapData.empty());
    addCanPacket(record, Packet(frame));
    DecapsulateQueuedFrames(record, decapsulator);
    EXPECT_TRUE(record->canWork.empty());
  }
  ASSERT_EQ(record->decapData.size(), 1U);
  EXPECT_EQ(record->decapData[0].bytes[19], 19);
}

}  // namespace
