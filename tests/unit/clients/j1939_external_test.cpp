// The J1939 service's messages, byte by byte, and the delivery of received frames.
#include "hostlink/j1939_external.h"

#include <array>
#include <string>

#include "hostlink/frame_layout.h"
#include "services/nm_messages.h"
#include "tests/unit/services/fake_service.h"

namespace {

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
