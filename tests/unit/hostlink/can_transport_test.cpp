// The receive and transmit path against the unit's own notification manager: what the J1939 service would send
// and see.
#include "hostlink/can_transport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/byte_order.h"

#include "core/command_counters.h"
#include "hostlink/immediate_replies.h"
#include "hostlink/j1939_external.h"
#include "support/console_capture.h"
#include "support/notify_fixture.h"
#include "support/test_record.h"

namespace {

using testing::ElementsAre;
using frame_t = std::vector<int>;

// A delivery of the J1939 service.
std::vector<std::uint8_t> Delivery(std::uint32_t identifier, const std::array<std::uint8_t, 8>& bytes) {
  std::vector<std::uint8_t> message(J1939_MESSAGE_SIZE, 0xEE);
  platform::StoreLe32(message, 12, identifier);
  std::copy(bytes.begin(), bytes.end(), message.begin() + 20);
  return message;
}

class CanTransport : public NotifyFixture {
 protected:
  CanTransport() : service(J1939_CHANNEL_NAME) {
    for (auto& count : CommandCounts) count = 0;
    record->watchdogSeconds = 5;
  }

  void HostSends(const std::array<std::uint8_t, 8>& bytes) {
    HandleServiceMessage(record, Delivery(0x18FF00D0, bytes));
  }

  // The data bytes of the next frame that the display sends; checks everything else of the request.
  frame_t NextFrame() {
    const std::vector<std::uint8_t> message = service.Receive();
    EXPECT_EQ(message.size(), 1808U);
    EXPECT_EQ(platform::LoadLe32(message, 0), 2U);            // raw frame
    EXPECT_EQ(platform::LoadLe32(message, 4), 0U);            // length is not filled
    EXPECT_EQ(platform::LoadLe32(message, 8), 1U);            // port
    EXPECT_EQ(platform::LoadLe32(message, 12), 0x18FF00D2U);  // identifier
    EXPECT_EQ(platform::LoadLe32(message, 16), 8U);           // bytes
    return {message.begin() + 20, message.begin() + 28};
  }

  Subscriber service;
  TestRecord record;
};

TEST_F(CanTransport, AnswersRequestsOfOneFrameAtOnceAndOldKeysFirst) {
  struct Request_t {
    std::array<std::uint8_t, 8> request;
    std::vector<frame_t> replies;
    std::size_t counter;
  };
  const program_date_t date = BuildProgramDate(FD);
  const std::vector<Request_t> requests = {
      {{0, 1, 6}, {{0, 1, 0x11, 4, 18, 255, 255, 255}}, 6},
      {{0, 1, 6}, {{0, 1, 0xFF, 18, 18, 255, 255, 255}}, 6},
      {{0, 1, 6}, {{0, 1, 0x11, 0, 18, 255, 255, 255}}, 6},
      {{0, 1, 7, 3}, {{0, 2, 'V', 'i', 's', 't', 'r', 'e'}, {1, 'l', ' ', 255, 255, 255, 255, 255}}, 9},
      {{0, 1, 7, 4},
       {frame_t(date.frame1.begin(), date.frame1.end()), frame_t(date.frame2.begin(), date.frame2.end())},
       10},
      {{0, 1, 7, 5},
       {{0, 3, 'R', 'e', 'v', '.', ' ', '0'},
        {1, '1', '.', '0', '0', '3', '.', '0'},
        {2, '1', '0', '9', 255, 255, 255, 255}},
       11},
      {{0, 1, 7, 7}, {{0, 1, 0, 255, 255, 255, 255, 255}}, 13},
      {{0, 1, 7, 9}, {{0, 1, 3, 255, 255, 255, 255, 255}}, 15},
  };
  InitProgramDate(record);
  record->keyStatus = 0x11;
  record->lastKey = 18;
  addKeyData(record, 4);
  addKeyData(record, 18);
  for (const Request_t& request : requests) {
    const std::uint32_t before = CommandCounts[request.counter];
    HostSends(request.request);
    for (const frame_t& reply : request.replies) EXPECT_EQ(NextFrame(), reply);
    EXPECT_EQ(CommandCounts[request.counter], before + 1);
  }
  EXPECT_TRUE(record->canPackets.empty());
  EXPECT_EQ(CommandCounts[COUNT_TOTAL_PKTS], 0U);
  EXPECT_EQ(record->hostSeen, 1);
  EXPECT_EQ(record->watchdogSeconds, 0);
}

TEST_F(CanTransport, QueuesAllOtherHostFrames) {
  const std::vector<std::array<std::uint8_t, 8>> frames = {
      {0, 2, 6}, {1, 6}, {0, 1, 7, 8}, {0, 1, 7, 0}, {0, 1, 5, 3}, {1, 1, 6}, {0, 0, 6}, {255, 255, 255}};
  for (const auto& frame : frames) HostSends(frame);
  ASSERT_EQ(record->canPackets.size(), frames.size());
  for (std::size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(record->canPackets[i].data, frames[i]);
    EXPECT_EQ(record->canPackets[i].canID, 0x18FF00D0U);
    EXPECT_EQ(record->canPackets[i].dlc, 0);
  }
  EXPECT_EQ(CommandCounts[COUNT_TOTAL_PKTS], frames.size());
}

TEST_F(CanTransport, IgnoresOtherIdentifiersAndMessagesTooShortForAFrame) {
  for (const std::uint32_t identifier : {0x18FF00D1U, 0x18FF00D2U, 0x1CFF00D0U, 0U}) {
    HandleServiceMessage(record, Delivery(identifier, {0, 1, 5}));
  }
  const auto message = Delivery(HOST_FRAME_ID, {0, 1, 5});
  for (const std::size_t size : {0U, 1U, 12U, 27U})
    HandleServiceMessage(record, std::span(message).first(size));
  EXPECT_TRUE(record->canPackets.empty());
  EXPECT_EQ(record->hostSeen, 0);
  EXPECT_EQ(record->watchdogSeconds, 5);

  HandleServiceMessage(record, std::span(message).first(28));
  EXPECT_EQ(record->canPackets.size(), 1U);
}

TEST_F(CanTransport, InstallsItsFiltersAndEndsWhenAsked) {
  ConsoleCapture console;
  record->running = 0;
  ASSERT_EQ(Init_CAN(record), 0);
  const std::vector<std::uint32_t> identifiers = {0x18FF00D0, 0x18FF0CD6, 0x18FF4101, 0x18FF0AD4, 0x18FF0BD4,
                                                  0x18FF3400, 0x18FF3500, 0x18FF3600, 0x18FF3700, 0x18FF3200,
                                                  0x18FF3300, 0x18FF3001, 0x18FF3101, 0x1CFF00F7};
  for (const std::uint32_t identifier : identifiers) {
    const std::vector<std::uint8_t> request = service.Receive();
    ASSERT_EQ(request.size(), 1827U);
    EXPECT_EQ(platform::LoadLe32(request, 0), 0U);
    EXPECT_EQ(platform::LoadLe32(request, 4), 1827U);
    EXPECT_EQ(platform::LoadLe32(request, 8), 1U);
    EXPECT_EQ(platform::LoadLe32(request, 12), identifier);
    EXPECT_EQ(platform::LoadLe32(request, 16), 0x00FFFFFFU);
    EXPECT_EQ(std::string(request.begin() + 1808, request.end()), "OrvikReceiveChannel");
  }
  WaitUntil([this] { return record->canReady == 1; });

  // A frame that comes before the start waits; one on another channel is passed over.
  Publish(orvikRxChName, Delivery(HOST_FRAME_ID, {0, 1, 5}));
  record->running = 1;
  WaitUntil([this] { return record->hostSeen == 1; });

  record->canExit = 1;
  record->canNmClient.load()->wakeReceiver();
  WaitUntil([this] { return record->canReady == 0; });
  EXPECT_THAT(console.Out(), testing::StartsWith("InitCANFilters: hx7NumFilters=56, sizeof=56\n"));
  EXPECT_EQ(console.Err(), "");
}

TEST(ProgramDate, AlwaysHasADayOfTwoDigits) {
  const program_date_t early = BuildProgramDate("Sep  7 2026");
  EXPECT_THAT(early.frame1, ElementsAre(0, 2, 'S', 'e', 'p', ' ', '0', '7'));
  EXPECT_THAT(early.frame2, ElementsAre(1, ' ', '2', '0', '2', '6', 0xFF, 0xFF));
  EXPECT_THAT(BuildProgramDate("Aug 27 2013").frame1, ElementsAre(0, 2, 'A', 'u', 'g', ' ', '2', '7'));
}

}  // namespace
