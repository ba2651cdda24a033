// The host link with its clients and the parameter database: replies, filters and the watchdog.
#include <algorithm>
#include <array>

#include <gtest/gtest.h>

#include "platform/byte_order.h"

#include "src/core/command_counters.h"
#include "src/core/name_tables.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/j1939_external.h"
#include "src/hostlink/watchdog.h"
#include "src/services/nm_messages.h"
#include "tests/support/console_capture.h"
#include "tests/support/fake_service.h"
#include "tests/support/test_record.h"

namespace {

TEST(CanTransportTest, CountsTheRequestsOfOneFrameAndQueuesNone) {
  TestRecord record;
  record->watchdogSeconds = 5;
  for (auto& count : CommandCounts) count = 0;
  const ConsoleCapture console;  // the replies find no service
  const std::pair<std::array<std::uint8_t, 8>, std::size_t> requests[] = {
      {{0, 1, 6}, 6},     {{0, 1, 7, 3}, 9},  {{0, 1, 7, 4}, 10},
      {{0, 1, 7, 5}, 11}, {{0, 1, 7, 7}, 13}, {{0, 1, 7, 9}, 15}};
  for (const auto& [request, counter] : requests) {
    std::vector<std::uint8_t> message(J1939_MESSAGE_SIZE);
    platform::StoreLe32(message, J1939_IDENTIFIER_AT, HOST_FRAME_ID);
    std::ranges::copy(request, message.begin() + J1939_DATA_AT);
    HandleServiceMessage(record, message);
    EXPECT_EQ(CommandCounts[counter], 1U) << counter;
  }
  EXPECT_TRUE(record->canPackets.empty());
  EXPECT_EQ(CommandCounts[COUNT_TOTAL_PKTS], 0U);
  EXPECT_EQ(record->hostSeen, 1);
  EXPECT_EQ(record->watchdogSeconds, 0);
}

TEST(CanTransportTest, AsksForTheFramesOfTheHostAndItsSensors) {
  TestRecord record;
  FakeService manager(NM_SERVER_NAME, [](const bytes_t&) { return Words({0, 6, 1, 1}); });
  record->canNmClient.store(new NM::NMClient);  // the record's
  record->j1939ApiChannel = 21;
  manager.DrainRequests();
  const ConsoleCapture console;
  InitCANFilters(record);
  std::vector<bytes_t> requests;
  for (const std::int64_t identifier :
       {0x18FF00D0, 0x18FF0CD6, 0x18FF4101, 0x18FF0AD4, 0x18FF0BD4, 0x18FF3400, 0x18FF3500, 0x18FF3600,
        0x18FF3700, 0x18FF3200, 0x18FF3300, 0x18FF3001, 0x18FF3101, 0x1CFF00F7}) {
    requests.push_back(Words({NM_SEND, 21, 1827, 1}) + Words({0, 1827, 1, identifier, 0x00FFFFFF}));
  }
  std::vector<bytes_t> sent = manager.DrainRequests();
  for (bytes_t& request : sent) request.resize(NM_HEADER_SIZE + 20);
  EXPECT_EQ(sent, requests);
}

TEST(J1939ExternalTest, AFrameGoesToTheChannelOfItsOwnFilterAlone) {
  PrepareTestRuntime();
  std::uint8_t nextChannel = 20;
  FakeService manager(NM_SERVER_NAME, [&](const bytes_t& request) {
    return Words({request[0], request[0] == NM_REGISTER ? nextChannel++ : -1, 4, 1});
  });
  NM::NMClient client;
  J1939External::ExternalStandardCAN table(client);
  table.addFilter(0x100, 0xFF, "first");
  table.addFilter(0x300, 0xFF, "second");
  EXPECT_EQ(table.FilterCount(), 2U);
  manager.DrainRequests();

  for (const std::uint32_t identifier : {0x0FFU, 0x101U, 0x301U}) {
    const CAN_packet_t2 stranger{.canID = identifier};
    EXPECT_EQ(table.CheckRxPacket(&stranger), 0);
    EXPECT_TRUE(manager.DrainRequests().empty()) << identifier;
  }

  using lengths_t = std::pair<std::uint8_t, std::uint8_t>;
  for (const auto& [dlc, delivered] : {lengths_t{0, 8}, {1, 1}, {8, 8}, {200, 8}}) {
    SCOPED_TRACE(int{dlc});
    const CAN_packet_t2 frame{.canID = 0x300, .dlc = dlc, .data = {1, 2, 3, 4, 5, 6, 7, 8}};
    EXPECT_EQ(table.CheckRxPacket(&frame), 0);
    EXPECT_EQ(table.LastResult(), 4);
    const bytes_t sent = manager.DrainRequests().at(0);
    EXPECT_EQ(sent.size(), NM_HEADER_SIZE + 1808);
    EXPECT_EQ(bytes_t(sent.begin(), sent.begin() + 16 + 20),
              Words({NM_SEND, 21, 1808, 1}) + Words({1, 1808, 1, 0x300, delivered}));
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(sent[16 + 20 + i], i + 1) << i;
  }
}

constexpr const char* LINK_STATE = "OrvikHX7TimeOutLamp";

class WatchdogTest : public testing::Test {
 protected:
  WatchdogTest() {
    record_.ConnectEvents("orvik.Events");
    manager_.DrainRequests();
    record_->eventIds = {
        {"orvik.SplashToSlate", 101}, {"orvik.SplashToGauges", 102}, {"orvik.ConfigToMain", 103}};
    record_->currentPage = &page_;
  }

  void Tick(int times) {
    for (int i = 0; i < times; ++i) WatchdogTick(record_);
  }

  // The events posted since the last call, in order.
  std::vector<unsigned> Events() {
    std::vector<unsigned> ids;
    for (const bytes_t& request : manager_.DrainRequests()) {
      ids.push_back(platform::LoadLe32(request, NM_HEADER_SIZE));
    }
    return ids;
  }

  TestRecord record_;
  FakeService manager_{NM_SERVER_NAME, [](const bytes_t&) { return Words({0, 6, 1, 1}); }};
  Page_t page_{ACTION_PAGE_CONFIG, EVENT_CONFIG_TO_MAIN, 0, {}};
};

TEST_F(WatchdogTest, CountsTheLinkAsLostOnTheEleventhTick) {
  record_->hostSeen = 1;
  Tick(10);
  EXPECT_EQ(ParameterValue(LINK_STATE), 1.0);
  EXPECT_EQ(record_->hostTimedOut, 0);
  EXPECT_TRUE(Events().empty());

  Tick(1);
  EXPECT_EQ(ParameterValue(LINK_STATE), 2.0);
  EXPECT_EQ(record_->hostTimedOut, 1);
  EXPECT_EQ(record_->hostSeen, 0);
  EXPECT_EQ(Events(), (std::vector<unsigned>{103}));
  Tick(3);  // the event is posted every second, the count stays
  EXPECT_EQ(record_->watchdogSeconds, 11);
  EXPECT_EQ(Events(), (std::vector<unsigned>{103, 103, 103}));

  record_->watchdogSeconds = 0;  // one host frame
  record_->hostSeen = 1;
  Tick(1);
  EXPECT_EQ(ParameterValue(LINK_STATE), 1.0);
  EXPECT_EQ(record_->hostTimedOut, 0);
  EXPECT_TRUE(Events().empty());
}

TEST_F(WatchdogTest, LeavesTheSplashPageForTheFirstPageThatTheDesignKnows) {
  page_.pageId = ACTION_PAGE_SPLASH;
  Tick(1);
  EXPECT_TRUE(Events().empty()) << "the host was not heard";
  record_->hostSeen = 1;
  Tick(1);
  EXPECT_EQ(Events(), (std::vector{101U, 102U}));
  record_->running = 0;
  Tick(1);
  EXPECT_TRUE(Events().empty());
}

TEST_F(WatchdogTest, PostsNoTimeOutEventWhereThereIsNone) {
  page_.timeOutEvent = EVENT_ID_NONE;
  Tick(12);
  page_.timeOutEvent = EVENT_MAIN_TO_WAD;  // which the configuration does not number
  Tick(1);
  record_->currentPage = nullptr;
  Tick(1);
  EXPECT_TRUE(Events().empty());
}

}  // namespace
