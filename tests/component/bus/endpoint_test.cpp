// A station's connection to a socketcand server.
#include "bus/endpoint.h"

#include <future>
#include <thread>

#include <gmock/gmock.h>

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

TEST(OpenEndpointTest, SaysWhatIsWrongAndWhatToDo) {
  EXPECT_THAT(ErrorOf("vcan0"), HasSubstr("socketcan:INTERFACE"));
  EXPECT_THAT(ErrorOf("socketcand:localhost"), HasSubstr("HOST:PORT"));
  EXPECT_THAT(ErrorOf("socketcand:127.0.0.1:1"), HasSubstr("nothing answers at 127.0.0.1:1"));
  EXPECT_NE(ErrorOf("socketcan:nosuchcan"), "");
  SocketcandDesk stranger({}, "220 mail ready\r\n");
  EXPECT_THAT(ErrorOf(stranger.Bus()), HasSubstr("Is it a socketcand server?"));
}

// Closing a connection with unread bytes resets it, and the server then loses what it has not read yet.
TEST(SocketcandEndpointTest, LosesNothingThatItSentWhenItLeavesAServerThatIsSlow) {
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

TEST(SocketcandEndpointTest, DoesNotRunAheadOfItsServer) {
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

TEST(SocketcandEndpointTest, HandsOutTheFramesThatCameBeforeTheServerWentAndThenStaysDown) {
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

}  // namespace
