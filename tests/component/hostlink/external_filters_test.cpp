// A received frame, as the table of filters delivers it to the channel of its own filter.
#include <tuple>

#include <gtest/gtest.h>

#include "src/core/frame_layout.h"
#include "src/hostlink/j1939_external.h"
#include "src/services/nm_messages.h"
#include "tests/support/fake_service.h"

namespace {

TEST(ExternalFiltersTest, AFrameGoesToTheChannelOfItsOwnFilterAlone) {
  const RuntimeDirectoryForTest directory;
  std::uint8_t nextChannel = 20;
  FakeService manager(NM_SERVER_NAME, [&](const bytes_t& request) {
    return Words({request[0], request[0] == NM_REGISTER ? nextChannel++ : -1, 4, 1});
  });
  NM::NMClient client;
  J1939External::ExternalStandardCAN table(client);
  table.addFilter(0x100, 0xFF, "first");
  table.addFilter(0x300, 0xFF, "second");
  manager.DrainRequests();
  const bytes_t data{1, 2, 3, 4, 5, 6, 7, 8};
  // Identifier, length of the frame, the length delivered and the channel; 0 where the frame is not delivered.
  const std::tuple<std::uint32_t, std::uint8_t, int, int> cases[] = {
      {0x0FF, 8, 0, 0},  {0x101, 8, 0, 0},  {0x301, 8, 0, 0},  {0x100, 3, 3, 20},
      {0x300, 0, 8, 21}, {0x300, 1, 1, 21}, {0x300, 8, 8, 21}, {0x300, 9, 8, 21}};
  for (const auto& [identifier, length, delivered, channel] : cases) {
    SCOPED_TRACE(testing::PrintToString(std::pair(identifier, length)));
    const CAN_packet_t2 frame{.canID = identifier, .dlc = length, .data = {1, 2, 3, 4, 5, 6, 7, 8}};
    EXPECT_EQ(table.CheckRxPacket(&frame), 0);
    const auto sent = manager.DrainRequests();
    ASSERT_EQ(sent.size(), channel == 0 ? 0U : 1U);
    if (channel == 0) continue;
    const bytes_t expected = Words({NM_SEND, channel, 1808, 1, 1, 1808, 1, identifier, delivered}) + data;
    EXPECT_EQ(bytes_t(sent[0].begin(), sent[0].begin() + 44), expected);
    EXPECT_EQ(sent[0].size(), NM_HEADER_SIZE + 1808);
    EXPECT_EQ(table.LastResult(), 4);
  }
}

}  // namespace
