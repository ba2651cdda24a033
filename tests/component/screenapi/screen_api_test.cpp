// The messages of a client of the screen service, byte by byte, over the real message path.
#include "src/screenapi/screen_api.h"

#include <functional>
#include <string>
#include <thread>
#include <tuple>

#include "src/services/nm_messages.h"
#include "tests/support/fake_service.h"

namespace {

constexpr std::uint8_t CHANNEL = 6;

class ScreenApiTest : public testing::Test {
 protected:
  RuntimeDirectoryForTest directory_;
  FakeService server_{NM_SERVER_NAME, [](const bytes_t&) { return Words({0, CHANNEL, 1, 1}); }};
};

// The message that one call published, without the notification manager's header.
bytes_t Published(FakeService& server) {
  const auto requests = server.DrainRequests();
  if (requests.empty()) return {};
  bytes_t message(requests[0].begin() + NM_HEADER_SIZE, requests[0].end());
  const auto size = static_cast<std::int64_t>(message.size());
  EXPECT_EQ(requests, std::vector<bytes_t>{Words({NM_SEND, CHANNEL, size, 1}) + message});
  return message;
}

TEST_F(ScreenApiTest, EachOperationIsOneMessage) {
  ScreenApi screen;
  const auto start = server_.DrainRequests();
  ASSERT_EQ(start.size(), 2U);
  EXPECT_EQ(start[1], Words({NM_REGISTER, -1, 10, 1}) + Characters("screenapi") + bytes_t{0});

  const std::int64_t half = 0x3F000000, one = 0x3F800000, minusTwo = 0xC0000000;
  const std::tuple<const char*, std::function<void()>, bytes_t> cases[] = {
      {"setText", [&] { screen.setText(5, "ab", 2); }, Words({5, 0, 2}) + bytes_t{'a', 'b', 0}},
      {"setTextWidget", [&] { screen.setTextWidget(-1, ""); }, Words({-1, 0, 0}) + bytes_t{0}},
      {"setTextGauge", [&] { screen.setTextGauge(5, "\xC3\xA9"); }, Words({5, 0, 0}) + bytes_t{0xC3, 0xA9, 0}},
      {"move", [&] { screen.move(3, -10, 76); }, Words({3, 1, -10, 76})},
      {"rotate", [&] { screen.rotate(3, 0.5F, 1.0F, -2.0F); }, Words({3, 2, half, one, minusTwo})},
      {"framerate", [&] { screen.framerate(30); }, Words({0, 3, 30})},
      {"processCommands", [&] { screen.processCommands(); }, Words({0, 4})},
      {"show", [&] { screen.show(3); }, Words({3, 5})},
      {"hide", [&] { screen.hide(3); }, Words({3, 6})},
      {"setColor", [&] { screen.setColor(3, 1, 0.5F, 1.0F, -2.0F, 1.0F); },
       Words({3, 7, 1, half, one, minusTwo, one})},
      {"setAlternate", [&] { screen.setAlternate(9, 2); }, Words({0, 8, 2})},
  };
  for (const auto& [name, call, message] : cases) {
    SCOPED_TRACE(name);
    call();
    EXPECT_EQ(Published(server_), message);
  }
}

TEST_F(ScreenApiTest, ATextThatDoesNotFitIsDroppedSilently) {
  ScreenApi screen;
  server_.DrainRequests();
  screen.setTextGauge(1, std::string(1011, 'x'), 0);
  EXPECT_TRUE(server_.DrainRequests().empty());
  screen.setTextGauge(1, std::string(1010, 'x'), 0);
  EXPECT_EQ(Published(server_).size(), 1023U);
}

// The dispatcher and the key thread share one client; their messages must not mix.
TEST_F(ScreenApiTest, ThreadsMayShareAClient) {
  ScreenApi screen;
  server_.DrainRequests();
  const auto write = [&screen](char mark, std::size_t length) {
    const std::string text(length, mark);
    for (int i = 0; i < 300; ++i) screen.setTextWidget(mark, text);
  };
  std::thread other(write, 'a', 700);
  write('b', 90);
  other.join();
  const auto requests = server_.DrainRequests();
  EXPECT_EQ(requests.size(), 600U);
  const bytes_t a = Words({'a', 0, 0}) + bytes_t(700, 'a') + bytes_t{0};
  const bytes_t b = Words({'b', 0, 0}) + bytes_t(90, 'b') + bytes_t{0};
  for (const bytes_t& request : requests) {
    const bytes_t message(request.begin() + NM_HEADER_SIZE, request.end());
    ASSERT_TRUE(message == a || message == b);
  }
}

}  // namespace
