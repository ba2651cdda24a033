// The queue of the host's frames, the messages joined from them, and requests to the J1939 service.
#include <tuple>

#include <gmock/gmock.h>

#include "platform/byte_order.h"

#include "src/core/command_counters.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/decapsulation.h"
#include "src/hostlink/immediate_replies.h"
#include "src/hostlink/j1939_external.h"
#include "tests/support/bytes.h"
#include "tests/support/console_capture.h"
#include "tests/support/test_record.h"

namespace {

using testing::ElementsAre;
using frame_t = std::array<std::uint8_t, 8>;

// A frame as the J1939 service delivers it.
std::vector<std::uint8_t> Delivery(std::uint32_t identifier, const frame_t& bytes) {
  std::vector<std::uint8_t> message(J1939_MESSAGE_SIZE, 0xEE);
  platform::StoreLe32(message, 12, identifier);
  std::copy(bytes.begin(), bytes.end(), message.begin() + 20);
  return message;
}

class CanTransportTest : public testing::Test {
 protected:
  CanTransportTest() {
    for (auto& count : CommandCounts) count = 0;
    record_->watchdogSeconds = 5;
  }

  void HostSends(const frame_t& bytes) { HandleServiceMessage(record_, Delivery(0x18FF00D0, bytes)); }

  RecordWithoutDatabase record_;
};

TEST_F(CanTransportTest, QueuesAllOtherHostFrames) {
  const std::vector<frame_t> frames = {{0, 2, 6},    {1, 6},    {0, 1, 7, 8}, {0, 1, 7, 0},
                                       {0, 1, 5, 3}, {1, 1, 6}, {0, 0, 6},    {255, 255, 255}};
  for (const auto& frame : frames) HostSends(frame);
  ASSERT_EQ(record_->canPackets.size(), frames.size());
  for (std::size_t i = 0; i < frames.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(record_->canPackets[i].data, frames[i]);
    EXPECT_EQ(record_->canPackets[i].canID, 0x18FF00D0U);
    EXPECT_EQ(record_->canPackets[i].dlc, 0);
  }
  EXPECT_EQ(CommandCounts[COUNT_TOTAL_PKTS], frames.size());
}

TEST_F(CanTransportTest, IgnoresOtherIdentifiersAndMessagesTooShortForAFrame) {
  for (const std::uint32_t identifier : {0x18FF00D1U, 0x18FF00D2U, 0x1CFF00D0U, 0U}) {
    HandleServiceMessage(record_, Delivery(identifier, {0, 1, 5}));
    EXPECT_TRUE(record_->canPackets.empty()) << identifier;
  }
  const auto message = Delivery(HOST_FRAME_ID, {0, 1, 5});
  for (const std::size_t size : {0U, 1U, 12U, 27U}) {
    HandleServiceMessage(record_, std::span(message).first(size));
    EXPECT_TRUE(record_->canPackets.empty()) << size;
  }
  EXPECT_EQ(record_->hostSeen, 0);
  EXPECT_EQ(record_->watchdogSeconds, 5);

  HandleServiceMessage(record_, std::span(message).first(28));
  EXPECT_EQ(record_->canPackets.size(), 1U);
}

TEST(ProgramDateTest, AlwaysHasADayOfTwoDigits) {
  const program_date_t early = MakeProgramDate("Sep  7 2026");
  EXPECT_THAT(early.frame1, ElementsAre(0, 2, 'S', 'e', 'p', ' ', '0', '7'));
  EXPECT_THAT(early.frame2, ElementsAre(1, ' ', '2', '0', '2', '6', 0xFF, 0xFF));
  EXPECT_THAT(MakeProgramDate("Aug 27 2013").frame1, ElementsAre(0, 2, 'A', 'u', 'g', ' ', '2', '7'));
}

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

TEST(DecapsulatorTest, JoinsFramesInSequenceAndDropsAllOthers) {
  const frame_t one = {0, 1, 5, 1, 2, 3, 4, 6};
  const frame_t first = {0, 3, 2, 10, 11, 12, 13, 14};
  const frame_t second = {1, 15, 16, 17, 18, 19, 20, 21};
  const frame_t third = {2, 22, 23, 24, 25, 26, 27, 28};
  const std::vector<int> single = {5, 1, 2, 3, 4, 6, 0, 0};
  const std::vector<int> joined = {2, 10, 11, 12, 13, 14, 15, 16};
  // Frames, and the first eight bytes of the messages that they complete.
  const std::tuple<const char*, std::vector<frame_t>, std::vector<std::vector<int>>> conversations[] = {
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
  for (const auto& [name, frames, messages] : conversations) {
    Decapsulator decapsulator;
    EXPECT_EQ(Decode(decapsulator, frames, 8), messages) << name;
    EXPECT_FALSE(decapsulator.IsCollecting()) << name;
  }
}

TEST(DecapsulatorTest, LeavesWhatAnEarlierMessageLeftBehindTheMessage) {
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

TEST(DecapsulatorTest, TakesWhatFitsTheBlockAndConsumesTheFramesOfWhatDoesNot) {
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

constexpr std::size_t FRAME_END = 28;  // after the eight data bytes

using message_t = std::array<char, 2000>;

message_t Untouched() {
  message_t message;
  message.fill('#');
  return message;
}

bytes_t Head(const message_t& message, std::size_t length) {
  return {message.begin(), message.begin() + static_cast<std::ptrdiff_t>(length)};
}

TEST(J1939ExternalTest, ARequestFillsItsPartOfTheBufferAlone) {
  using Api = J1939External;
  for (const auto& [build, type] :
       {std::pair{&Api::setFilter, 0}, {&Api::setMultipacketFilter, 3}, {&Api::setFastpacketFilter, 5}}) {
    SCOPED_TRACE(type);
    message_t message = Untouched();
    build(0x18FF00D0, 0x00FFFFFF, 1, "OrvikReceiveChannel", message.data());
    EXPECT_EQ(Head(message, 20), Words({type, 1827, 1, 0x18FF00D0, 0x00FFFFFF}));
    EXPECT_EQ(std::string(message.data() + 1806, 23), "##OrvikReceiveChannel##");
  }
  const std::array<std::uint8_t, 2000> data{0, 1, 7, 255, 4, 5, 6, 128};
  for (const auto& [build, type] : {std::pair{&Api::sendMsg, 1},
                                    {&Api::sendRawMsg, 2},
                                    {&Api::sendMultipacketMsg, 4},
                                    {&Api::sendFastpacketMsg, 6}}) {
    SCOPED_TRACE(type);
    message_t message = Untouched();
    build(0x98FF00D2, 8, 1, data.data(), message.data());
    EXPECT_EQ(Head(message, FRAME_END),
              Words({type, 1808, 1, 0x98FF00D2, 8}) + bytes_t(data.begin(), data.begin() + 8));
    EXPECT_EQ(std::string(message.data() + FRAME_END, 4), "####");
  }
  message_t message = Untouched();
  Api::sendMultipacketMsg(1, 2000, 1, data.data(), message.data());
  EXPECT_EQ(message[1807], 0);
  EXPECT_EQ(message[1808], '#');
}

}  // namespace
