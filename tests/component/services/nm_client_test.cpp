// The messages of a client of the notification manager, byte by byte, over the real message path.
#include "src/services/nm_client.h"

#include <optional>
#include <string>
#include <thread>
#include <tuple>

#include "platform/byte_order.h"

#include "src/services/nm_messages.h"
#include "tests/support/fake_service.h"

namespace {

constexpr std::int32_t CLIENT_ID = 7;

class NMClientTest : public testing::Test {
 protected:
  // Accepts the connection, then answers each request with `reply`.
  FakeService::answer_t Answer() {
    return [this](const bytes_t& request) {
      if (request.at(0) != NM_CONNECT) return reply_;
      ownChid_ = static_cast<int>(platform::LoadLe32(request, NM_CONNECT_CHID_AT));
      return Words({NM_CONNECT, -1, 0, CLIENT_ID});
    };
  }

  RuntimeDirectoryForTest directory_;
  int ownChid_ = 0;  // the client's channel, which its connect request carries
  bytes_t reply_ = Words({0, 5, 3, 0});
};

TEST_F(NMClientTest, WhatDoesNotFitAMessageIsNotSent) {
  FakeService server(NM_SERVER_NAME, Answer());
  NM::NMClient client;
  server.DrainRequests();
  const std::string data(NM_MESSAGE_SIZE, 'x');
  EXPECT_EQ(client.sendMsg(5, data.data(), -1), -1);
  EXPECT_EQ(client.sendMsg(5, data.data(), NM_PAYLOAD_SIZE + 1), -1);
  EXPECT_EQ(client.registerName(data.c_str()), -1);
  EXPECT_TRUE(server.DrainRequests().empty());
  EXPECT_EQ(client.sendMsg(5, data.data(), NM_PAYLOAD_SIZE), 3);
  EXPECT_EQ(client.sendMsg(5, nullptr, 0), 3);
  EXPECT_EQ(server.DrainRequests().at(0).size(), NM_MESSAGE_SIZE);
}

TEST_F(NMClientTest, AReplyThatClaimsTooMuchIsCutAndAFetchFromAManagerThatHasEndedFails) {
  std::optional<FakeService> server(std::in_place, NM_SERVER_NAME, Answer());
  NM::NMClient client;
  int channel = 0;
  std::string buffer(20000, '.');
  for (const auto& [claimed, room, expected] : {std::tuple<std::int32_t, int, int>{100, 4, 4},
                                                {0x7FFFFFFF, 20000, NM_PAYLOAD_SIZE},
                                                {-1, 4, -1},
                                                {4, -5, 0},
                                                {0, 4, 0}}) {
    reply_ = Words({4, 1, claimed, 0});
    client.wakeReceiver();
    EXPECT_EQ(client.recvMsg(channel, buffer.data(), room), expected) << claimed << ' ' << room;
  }
  EXPECT_EQ(buffer[NM_PAYLOAD_SIZE], '.');
  server.reset();
  client.wakeReceiver();
  EXPECT_EQ(client.recvMsg(channel, buffer.data(), 4), -1);
}

TEST_F(NMClientTest, AMessageOnThePulseChannelIsRefusedAndItsSenderGoesOn) {
  const FakeService server(NM_SERVER_NAME, Answer());
  NM::NMClient client;
  const std::jthread sender([this] {
    const int coid = ConnectAttach(0, 0, ownChid_, _NTO_SIDE_CHANNEL, 0);
    EXPECT_EQ(MsgSend(coid, "x", 1, nullptr, 0), -1);
    ConnectDetach(coid);
  });
  int channel = 0;
  char buffer[4];
  testing::internal::CaptureStderr();
  EXPECT_EQ(client.recvMsg(channel, buffer, 4), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "NM-Client: Error: unexpected rcvid\n");
}

// Each reply carries the first byte of its request, so that a thread notices the reply to another one.
TEST_F(NMClientTest, ThreadsThatShareAClientGetTheirOwnResults) {
  const FakeService server(NM_SERVER_NAME, [this](const bytes_t& request) {
    if (request.at(0) == NM_CONNECT) return Answer()(request);
    return Words({3, 0, request.at(NM_HEADER_SIZE), 0});
  });
  NM::NMClient client;
  std::vector<std::jthread> threads;
  for (char mark = 1; mark <= 4; ++mark) {
    threads.emplace_back([&client, mark] {
      const std::string data(static_cast<std::size_t>(mark) * 500, mark);
      for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(client.sendMsg(1, data.data(), static_cast<int>(data.size())), mark);
      }
    });
  }
}

}  // namespace
