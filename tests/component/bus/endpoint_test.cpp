// Where programs meet: a station's connection to its bus, and the addresses of what answers over HTTP.
#include "bus/endpoint.h"

#include <future>
#include <thread>

#include <gmock/gmock.h>

#include "http/address.h"
#include "tests/support/socketcand_desk.h"

namespace {

using bus::Endpoint;
using testing::HasSubstr;
using Result = bus::Endpoint::result_t;

constexpr bus::frame_t KEY_REQUEST{.identifier = 0x18FF00D0, .length = 8, .data = {0, 1, 6}};

std::string ErrorOf(const std::string& description) {
  try {
    bus::OpenEndpoint(description);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(OpenEndpoint, SaysWhatIsWrongAndWhatToDo) {
  EXPECT_THAT(ErrorOf("vcan0"), HasSubstr("socketcan:INTERFACE"));
  EXPECT_THAT(ErrorOf("socketcand:localhost"), HasSubstr("HOST:PORT"));
  EXPECT_THAT(ErrorOf("socketcand:127.0.0.1:1"), HasSubstr("nothing answers at 127.0.0.1:1"));
  EXPECT_NE(ErrorOf("socketcan:nosuchcan"), "");
  SocketcandDesk stranger({}, "220 mail ready\r\n");
  EXPECT_THAT(ErrorOf(stranger.Bus()), HasSubstr("Is it a socketcand server?"));
}

// Closing a connection with unread bytes resets it, which costs what the server has not taken yet.
TEST(SocketcandEndpoint, LosesNothingThatItSentWhenItLeavesAServerThatIsSlow) {
  SocketcandDesk desk;
  auto endpoint = bus::OpenEndpoint(desk.Bus());
  desk.WaitForClients(1);
  desk.SendText("< frame 123 1.000000 00 >");
  std::size_t sent = 0;
  std::future<void> leaving;
  {
    const auto hold = desk.Hold();
    while (endpoint->Send(KEY_REQUEST, 0) == Result::OK) ++sent;
    leaving = std::async(std::launch::async, [&endpoint] { endpoint.reset(); });
    leaving.wait_for(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(desk.WaitForFrames(sent).size(), sent);
}

TEST(SocketcandEndpoint, DoesNotRunAheadOfItsServer) {
  SocketcandDesk desk;
  const auto endpoint = bus::OpenEndpoint(desk.Bus());
  std::size_t sent = 0;
  while (endpoint->Send(KEY_REQUEST, 100) == Result::OK) ++sent;
  EXPECT_EQ(sent, 512U);
  EXPECT_EQ(desk.WaitForFrames(sent).size(), sent);
  desk.SendText("< echo >");
  bus::frame_t frame;
  EXPECT_EQ(endpoint->Receive(frame, 200), Result::TIMEOUT);
  while (endpoint->Send(KEY_REQUEST, 100) == Result::OK) ++sent;
  EXPECT_EQ(sent, 640U);
}

TEST(SocketcandEndpoint, HandsOutTheFramesThatCameBeforeTheServerWentAndThenStaysDown) {
  SocketcandDesk desk;
  const auto endpoint = bus::OpenEndpoint(desk.Bus());
  desk.WaitForClients(1);
  desk.SendText("< echo >< frame nonsense >\n< frame 123 0.000000 >< frame 124 1.000000 00 >");
  desk.DropClients();
  bus::frame_t frame;
  EXPECT_EQ(endpoint->Receive(frame, 5000), Result::OK);
  EXPECT_EQ(frame.identifier, 0x123U);
  EXPECT_NE(frame.time_us, 0U);
  EXPECT_EQ(endpoint->Receive(frame, 5000), Result::OK);
  EXPECT_EQ(endpoint->Receive(frame, 5000), Result::DOWN);
  EXPECT_EQ(endpoint->Send(KEY_REQUEST, 100), Result::DOWN);
  EXPECT_THAT(endpoint->Problem(), HasSubstr("closed the connection"));
}

TEST(HttpAddress, IsOneOfTheLoopback) {
  for (const char* text : {"127.0.0.1:8740", "localhost:0", "[::1]:65535", "127.1.2.3:1"}) {
    EXPECT_EQ(http::FormatAddress(http::ParseAddress(text)), text);
  }
  for (const char* text :
       {"", "127.0.0.1", ":8740", "0.0.0.0:8740", "192.168.0.2:80", "127.0.0.1:", "127.0.0.1:65536",
        "127.0.0.1:-1", "127.0.0.1:80x", "[::]:80", "127.0.0.1.example.org:80", "[::1]", "127.1:80"}) {
    EXPECT_THROW(http::ParseAddress(text), std::runtime_error) << text;
  }
}

TEST(HttpAddress, OnlyLoopbackNamesAreAnswered) {
  for (const char* host : {"127.0.0.1:8740", "localhost", "localhost:1", "[::1]:8740"}) {
    EXPECT_TRUE(http::IsLoopbackHost(host)) << host;
  }
  for (const char* host :
       {"", "example.org", "localhost.example.org", "127.0.0.1.example.org:8740", "127.evil.0.1"}) {
    EXPECT_FALSE(http::IsLoopbackHost(host)) << host;
  }
}

TEST(HttpAddress, ChangesComeFromProgramsOrTheOwnPages) {
  constexpr const char* HOST = "127.0.0.1:8740";
  EXPECT_TRUE(http::IsOwnOrigin("", HOST));
  EXPECT_TRUE(http::IsOwnOrigin("http://127.0.0.1:8740", HOST));
  for (const char* origin : {"null", "http://127.0.0.1:8741", "https://127.0.0.1:8740",
                             "http://127.0.0.1:8740.example.org", "http://example.org"}) {
    EXPECT_FALSE(http::IsOwnOrigin(origin, HOST)) << origin;
  }
}

}  // namespace
