// The messages of the clients of the notification manager, the screen and the J1939 service, byte by byte, over
// the real message path.
#include <array>
#include <functional>
#include <string>

#include <unistd.h>

#include "platform/byte_order.h"

#include "src/core/frame_layout.h"
#include "src/hostlink/j1939_external.h"
#include "src/screenapi/screen_api.h"
#include "src/services/nm_client.h"
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
  int ownChid_ = 0;  // the client's channel, as it told the service
  bytes_t reply_ = Words({0, 5, 3, 0});
};

TEST_F(NMClientTest, ARefusedClientIsUnusable) {
  const FakeService refusing(NM_SERVER_NAME, [](const bytes_t&) { return Words({0, -1, -1, 9}); });
  NM::NMClient client;
  EXPECT_FALSE(client.isValid());
  EXPECT_EQ(client.registerName("any"), -1);
}

TEST_F(NMClientTest, EachRequestIsOneMessage) {
  FakeService server(NM_SERVER_NAME, Answer());
  NM::NMClient client;
  EXPECT_EQ(server.TakeRequests().at(0), Words({0, -1, 0, -1, getpid(), ownChid_}));
  const auto check = [&server](int result, int expected, const bytes_t& request) {
    EXPECT_EQ(result, expected);
    EXPECT_EQ(server.TakeRequests(), std::vector<bytes_t>{request});
  };
  check(client.registerName(""), 5, Words({1, -1, 1, CLIENT_ID}) + bytes_t{0});
  check(client.registerName("Ab"), 5, Words({1, -1, 3, CLIENT_ID}) + bytes_t{'A', 'b', 0});
  check(client.subscribe(5), 3, Words({2, 5, 0, CLIENT_ID}));
  check(client.sendMsg(5, "\x01\x02\x03\x04", 4), 3, Words({3, 5, 4, CLIENT_ID}) + bytes_t{1, 2, 3, 4});
  client.wakeReceiver();
  int channel = 0;
  char buffer[8]{};
  reply_ = Words({4, 6, 2, CLIENT_ID}) + bytes_t{'h', 'i'};
  check(client.recvMsg(channel, buffer, sizeof buffer), 2, Words({4, -1, 8, CLIENT_ID}));
  EXPECT_EQ(channel, 6);
  EXPECT_STREQ(buffer, "hi");
}

TEST_F(NMClientTest, WhatDoesNotFitAMessageIsNotSent) {
  FakeService server(NM_SERVER_NAME, Answer());
  NM::NMClient client;
  server.TakeRequests();
  const std::string data(NM_MESSAGE_SIZE, 'x');
  EXPECT_EQ(client.sendMsg(5, data.data(), -1), -1);
  EXPECT_EQ(client.sendMsg(5, data.data(), NM_PAYLOAD_SIZE + 1), -1);
  EXPECT_EQ(client.registerName(data.c_str()), -1);
  EXPECT_TRUE(server.TakeRequests().empty());
  EXPECT_EQ(client.sendMsg(5, data.data(), NM_PAYLOAD_SIZE), 3);
  EXPECT_EQ(server.TakeRequests().at(0).size(), NM_MESSAGE_SIZE);
}

TEST_F(NMClientTest, AReplyThatClaimsTooMuchIsCut) {
  const FakeService server(NM_SERVER_NAME, Answer());
  NM::NMClient client;
  int channel = 0;
  std::string buffer(20000, '.');
  struct case_t {
    std::int32_t claimed;
    int room;
    int expected;
  };
  for (const auto& [claimed, room, expected] :
       {case_t{100, 4, 4}, {0x7FFFFFFF, 20000, NM_PAYLOAD_SIZE}, {-1, 4, -1}, {4, -5, 0}, {0, 4, 0}}) {
    reply_ = Words({4, 1, claimed, 0});
    client.wakeReceiver();
    EXPECT_EQ(client.recvMsg(channel, buffer.data(), room), expected) << claimed << ' ' << room;
  }
  EXPECT_EQ(buffer[NM_PAYLOAD_SIZE], '.');
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

// Replies carry what the request carried, so that a mix-up of two threads' messages would show.
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

constexpr std::uint8_t CHANNEL = 6;

class ScreenApiTest : public testing::Test {
 protected:
  RuntimeDirectoryForTest directory_;
  FakeService server_{NM_SERVER_NAME, [](const bytes_t&) { return Words({0, CHANNEL, 1, 1}); }};
};

// What was published by one call, without the notification manager's header.
bytes_t Published(FakeService& server) {
  const auto requests = server.TakeRequests();
  if (requests.empty()) return {};
  bytes_t message(requests[0].begin() + NM_HEADER_SIZE, requests[0].end());
  const auto size = static_cast<std::int64_t>(message.size());
  EXPECT_EQ(requests, std::vector<bytes_t>{Words({NM_SEND, CHANNEL, size, 1}) + message});
  return message;
}

TEST_F(ScreenApiTest, EachOperationIsOneMessage) {
  ScreenApi screen;
  const auto start = server_.TakeRequests();
  ASSERT_EQ(start.size(), 2U);
  EXPECT_EQ(start[1], Words({NM_REGISTER, -1, 10, 1}) + Characters("screenapi") + bytes_t{0});

  const std::int64_t half = 0x3F000000, one = 0x3F800000, minusTwo = 0xC0000000;
  const std::vector<std::pair<std::function<void()>, bytes_t>> cases = {
      {[&] { screen.setText(5, "ab", 2); }, Words({5, 0, 2}) + bytes_t{'a', 'b', 0}},
      {[&] { screen.setTextWidget(-1, ""); }, Words({-1, 0, 0}) + bytes_t{0}},
      {[&] { screen.setTextGauge(5, "\xC3\xA9"); }, Words({5, 0, 0}) + bytes_t{0xC3, 0xA9, 0}},
      {[&] { screen.move(3, -10, 76); }, Words({3, 1, -10, 76})},
      {[&] { screen.rotate(3, 0.5F, 1.0F, -2.0F); }, Words({3, 2, half, one, minusTwo})},
      {[&] { screen.framerate(30); }, Words({0, 3, 30})},
      {[&] { screen.processCommands(); }, Words({0, 4})},
      {[&] { screen.show(3); }, Words({3, 5})},
      {[&] { screen.hide(3); }, Words({3, 6})},
      {[&] { screen.setColor(3, 1, 0.5F, 1.0F, -2.0F, 1.0F); }, Words({3, 7, 1, half, one, minusTwo, one})},
      {[&] { screen.setAlternate(9, 2); }, Words({0, 8, 2})},
  };
  for (const auto& [call, message] : cases) {
    call();
    EXPECT_EQ(Published(server_), message);
  }
}

TEST_F(ScreenApiTest, ATextThatDoesNotFitIsDroppedSilently) {
  ScreenApi screen;
  server_.TakeRequests();
  screen.setTextGauge(1, std::string(1011, 'x'), 0);
  EXPECT_TRUE(server_.TakeRequests().empty());
  screen.setTextGauge(1, std::string(1010, 'x'), 0);
  EXPECT_EQ(Published(server_).size(), 1023U);
}

// The dispatcher and a key thread use one client; their messages must not run into each other.
TEST_F(ScreenApiTest, ThreadsMayShareAClient) {
  ScreenApi screen;
  server_.TakeRequests();
  const auto write = [&screen](char mark, std::size_t length) {
    const std::string text(length, mark);
    for (int i = 0; i < 300; ++i) screen.setTextWidget(mark, text);
  };
  std::thread other(write, 'a', 700);
  write('b', 90);
  other.join();
  const auto requests = server_.TakeRequests();
  EXPECT_EQ(requests.size(), 600U);
  const bytes_t a = Words({'a', 0, 0}) + bytes_t(700, 'a') + bytes_t{0};
  const bytes_t b = Words({'b', 0, 0}) + bytes_t(90, 'b') + bytes_t{0};
  for (const bytes_t& request : requests) {
    const bytes_t message(request.begin() + NM_HEADER_SIZE, request.end());
    ASSERT_TRUE(message == a || message == b);
  }
}

constexpr std::size_t FRAME_END = 28;  // behind the eight data bytes

using message_t = std::array<char, 2000>;

message_t Untouched() {
  message_t message;
  message.fill('#');
  return message;
}

bytes_t Head(const message_t& message, std::size_t length) {
  return {message.begin(), message.begin() + static_cast<std::ptrdiff_t>(length)};
}

TEST(J1939External, ARequestFillsItsPartOfTheBufferAlone) {
  using Api = J1939External;
  for (const auto& [build, type] :
       {std::pair{&Api::setFilter, 0}, {&Api::setMultipacketFilter, 3}, {&Api::setFastpacketFilter, 5}}) {
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

TEST(J1939External, AFrameGoesToTheChannelOfItsOwnFilterAlone) {
  const RuntimeDirectoryForTest directory;
  std::uint8_t nextChannel = 20;
  FakeService manager(NM_SERVER_NAME, [&](const bytes_t& request) {
    return Words({request[0], request[0] == NM_REGISTER ? nextChannel++ : -1, 4, 1});
  });
  NM::NMClient client;
  J1939External::ExternalStandardCAN table(client);
  table.addFilter(0x100, 0xFF, "first");
  table.addFilter(0x300, 0xFF, "second");
  EXPECT_EQ(table.FilterCount(), 2U);
  manager.TakeRequests();

  for (const std::uint32_t identifier : {0x0FFU, 0x101U, 0x301U}) {
    const CAN_packet_t2 stranger{.canID = identifier};
    EXPECT_EQ(table.CheckRxPacket(&stranger), 0);
  }
  EXPECT_TRUE(manager.TakeRequests().empty());

  using lengths_t = std::pair<std::uint8_t, std::uint8_t>;
  for (const auto& [dlc, delivered] : {lengths_t{0, 8}, {1, 1}, {8, 8}, {200, 8}}) {
    const CAN_packet_t2 frame{.canID = 0x300, .dlc = dlc, .data = {1, 2, 3, 4, 5, 6, 7, 8}};
    EXPECT_EQ(table.CheckRxPacket(&frame), 0);
    EXPECT_EQ(table.LastResult(), 4);
    const bytes_t sent = manager.TakeRequests().at(0);
    EXPECT_EQ(sent.size(), NM_HEADER_SIZE + 1808);
    EXPECT_EQ(bytes_t(sent.begin(), sent.begin() + 16 + 20),
              Words({NM_SEND, 21, 1808, 1}) + Words({1, 1808, 1, 0x300, delivered}));
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(sent[16 + 20 + i], i + 1) << i;
  }
}

}  // namespace
