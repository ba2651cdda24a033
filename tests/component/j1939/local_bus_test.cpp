#include "unit/j1939/local_bus.h"

#include <cerrno>
#include <semaphore>
#include <thread>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bus/log_lines.h"
#include "bus/socketcand_endpoint.h"
#include "bus/socketcand_text.h"
#include "tests/support/test_folder.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr int DEADLINE_MS = 10'000;

// A program on the bus, with a socket of its own.
class Client {
 public:
  explicit Client(const LocalBus& bus, int receiveBuffer = 0) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    if (receiveBuffer > 0)
      setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    const timeval limit{.tv_sec = DEADLINE_MS / 1000, .tv_usec = 0};
    setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port =
        htons(static_cast<std::uint16_t>(std::stoi(bus.Address().substr(bus.Address().rfind(':') + 1))));
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&to), sizeof to), 0) << strerror(errno);
  }
  // A client that has joined in raw mode.
  static Client Joined(const LocalBus& bus, int receiveBuffer = 0) {
    Client client(bus, receiveBuffer);
    EXPECT_EQ(client.Next(), "< hi >");
    client.Say("< open can0 >< rawmode >");
    EXPECT_EQ(client.Next(), "< ok >");
    EXPECT_EQ(client.Next(), "< ok >");
    return client;
  }
  void Say(const std::string& text) {
    EXPECT_EQ(write(socket_.Get(), text.data(), text.size()), ssize_t(text.size()));
  }
  // The next message; empty at the end of the connection.
  std::string Next() {
    std::string message;
    while (!splitter_.Next(message)) {
      std::array<char, 4096> bytes;
      const ssize_t got = recv(socket_.Get(), bytes.data(), bytes.size(), 0);
      if (got <= 0) return {};
      splitter_.Feed({bytes.data(), static_cast<std::size_t>(got)});
    }
    return message;
  }
  // Identifier and data of the next frame: "18FF00D0 0102".
  std::string NextFrame() {
    const std::string message = Next();
    const auto frame = bus::ParseSocketcandFrame(message);
    if (!frame) return "not a frame: " + message;
    EXPECT_NE(frame->time_us, 0U);
    const std::string log = bus::FormatLogLine(*frame, "x");
    return log.substr(log.rfind(' ') + 1);
  }
  bool IsClosed() { return Next().empty(); }

 private:
  base::Descriptor socket_;
  bus::SocketcandSplitter splitter_;
};

std::string Numbered(unsigned number) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "< send 18FF00D0 4 %x %x %x %x >",
                                  number >> 24U & 255U, number >> 16U & 255U, number >> 8U & 255U,
                                  number & 255U));
  return text.data();
}

bus::frame_t NumberedFrame(unsigned number) {
  return bus::ParseSocketcandSend(Numbered(number)).value();
}

unsigned NumberOf(const bus::frame_t& frame) {
  return static_cast<unsigned>(frame.data[0] << 24 | frame.data[1] << 16 | frame.data[2] << 8 | frame.data[3]);
}

// Receives frames as the unit does. They must be numbered from 0.
void ExpectNumbered(LocalBus& bus, unsigned frames) {
  bus::frame_t frame;
  for (unsigned i = 0; i < frames; ++i) {
    ASSERT_EQ(bus.Receive(frame, DEADLINE_MS), bus::Endpoint::result_t::OK) << i;
    ASSERT_EQ(NumberOf(frame), i);
  }
}

TEST(LocalBusTest, AFrameReachesEveryStationButItsSender) {
  LocalBus bus({.address = "127.0.0.1:0"});
  Client alice = Client::Joined(bus);
  Client bob = Client::Joined(bus);
  alice.Say("< send 18FF00D0 2 1 A >< send 123 0 >");
  EXPECT_EQ(bob.NextFrame(), "18FF00D0#010A");
  EXPECT_EQ(bob.NextFrame(), "123#");
  bus::frame_t frame;
  ASSERT_EQ(bus.Receive(frame, DEADLINE_MS), bus::Endpoint::result_t::OK);
  EXPECT_EQ(frame.identifier, 0x18FF00D0U);
  EXPECT_NE(frame.time_us, 0U);
  ASSERT_EQ(bus.Receive(frame, DEADLINE_MS), bus::Endpoint::result_t::OK);
  EXPECT_FALSE(frame.extended);

  bob.Say("< send 7FF 1 2 >");
  EXPECT_EQ(alice.NextFrame(), "7FF#02") << "a station does not get its own frames";
  const bus::frame_t reply{.identifier = 0x18FF00D2, .extended = true, .length = 1, .data = {3}, .time_us = 0};
  ASSERT_EQ(bus.Send(reply, DEADLINE_MS), bus::Endpoint::result_t::OK);
  EXPECT_EQ(alice.NextFrame(), "18FF00D2#03");
  EXPECT_EQ(bob.NextFrame(), "18FF00D2#03");
  ASSERT_EQ(bus.Receive(frame, DEADLINE_MS), bus::Endpoint::result_t::OK);
  EXPECT_EQ(frame.identifier, 0x7FFU) << "the unit does not get its own frame";
  EXPECT_EQ(bus.Receive(frame, 0), bus::Endpoint::result_t::TIMEOUT);
}

TEST(LocalBusTest, TheThirtyThirdStationIsToldThatThereIsNoRoom) {
  LocalBus bus({.address = "127.0.0.1:0"});
  std::list<Client> clients;
  for (std::size_t i = 0; i < LocalBus::MAX_STATIONS; ++i) clients.push_back(Client::Joined(bus));
  Client oneMore(bus);
  EXPECT_THAT(oneMore.Next(), HasSubstr("too many stations"));
  EXPECT_TRUE(oneMore.IsClosed());
  EXPECT_EQ(bus.Counters()["stations.refused"], 1U);
  clients.pop_front();
  while (bus.Counters()["stations"] == LocalBus::MAX_STATIONS) std::this_thread::sleep_for(1ms);
  Client::Joined(bus);
}

TEST(LocalBusTest, WhatAStationSentBeforeItLeftCountsThoughItReadNothing) {
  constexpr unsigned FRAMES = 1500;  // about 50 kB, which fit the connection's buffers
  LocalBus bus({.address = "127.0.0.1:0"});
  {
    Client host = Client::Joined(bus);
    // Unread frames make the closed connection send a reset.
    for (int i = 0; i < 10; ++i)
      bus.Send({.identifier = 1, .extended = true, .length = 0, .data = {}, .time_us = 0}, 0);
    std::string text;
    for (unsigned i = 0; i < FRAMES; ++i) text += Numbered(i);
    host.Say(text);
  }
  ExpectNumbered(bus, FRAMES);
}

// Before it was so, the bus stood still for two seconds and more where stations did not read.
TEST(LocalBusTest, StationsThatDoNotReadAreTakenOffTheBusAndCostTheOthersNothing) {
  constexpr unsigned FRAMES = 120'000;  // more than a queue and the connection's buffers hold
  constexpr unsigned AHEAD = 10'000;    // the unit does not run further ahead of the station that reads
  LocalBus bus({.address = "127.0.0.1:0"});
  std::list<Client> stuck;
  for (int i = 0; i < 10; ++i) stuck.push_back(Client::Joined(bus, 4096));
  Client reader = Client::Joined(bus);
  std::counting_semaphore<> room(AHEAD);
  std::thread unit([&] {
    for (unsigned i = 0; i < FRAMES; ++i) {
      room.acquire();
      EXPECT_EQ(bus.Send(NumberedFrame(i), 0), bus::Endpoint::result_t::OK);
    }
  });
  for (unsigned i = 0; i < FRAMES; ++i) {
    const auto frame = bus::ParseSocketcandFrame(reader.Next());
    if (!frame || NumberOf(*frame) != i) ADD_FAILURE() << i;
    room.release();
  }
  unit.join();
  EXPECT_EQ(bus.Counters()["stations.dropped"], 10U);
  while (bus.Counters()["stations"] != 1U) std::this_thread::sleep_for(1ms);
}

TEST(LocalBusTest, AStationThatSpeaksAnotherProtocolIsShownOut) {
  constexpr const char* TOKEN = "0123456789abcdef";
  LocalBus bus({.address = "127.0.0.1:0", .token = TOKEN, .openLimit = 300ms});
  const std::pair<std::string, const char*> cases[] = {
      {"POST / HTTP/1.1\r\nHost: x\r\n\r\n< token 0123456789abcdef >< open can0 >< send 18FF00D0 1 1 >",
       "protocol"},
      {"< token 0123456789abcdef >< open can0 >\x01< send 18FF00D0 1 1 >", "protocol"},
      {"< open can0 >< send 18FF00D0 1 1 >", "token required"},
      {"< token 0123456789abcdee >< token 0123456789abcdef >< open can0 >", "wrong token"},
      {"< echo >", ""},  // and then nothing: the time to open the bus ends
  };
  std::uint64_t expelled = 0;
  for (const auto& [text, answer] : cases) {
    SCOPED_TRACE(text);
    Client client(bus);
    EXPECT_EQ(client.Next(), "< hi >");
    client.Say(text);
    std::string all;
    for (std::string message = client.Next(); !message.empty(); message = client.Next()) all += message;
    EXPECT_THAT(all, HasSubstr(answer));
    EXPECT_EQ(bus.Counters()["stations.expelled"], ++expelled);
  }
  Client good(bus);
  good.Say("\n < token 0123456789abcdef >\r\n< open can0 > <send 18FF00D0 1 2>\n");
  bus::frame_t frame;
  ASSERT_EQ(bus.Receive(frame, DEADLINE_MS), bus::Endpoint::result_t::OK);
  EXPECT_EQ(frame.data[0], 2U) << "a frame of a station that was shown out";
}

// The places of the stations on TCP are taken, and they would need a token.
TEST(LocalBusTest, TheSocketIsForThisUserAndNeedsNoToken) {
  const TestFolder folder;
  const std::filesystem::path longFolder = folder.Path() / std::string(100, 'p');  // no address holds it
  std::filesystem::create_directory(longFolder);
  const std::string path = longFolder / "bus.socket";
  bus::frame_t frame;
  {
    LocalBus bus({.address = "127.0.0.1:0", .socketPath = path, .token = "0123456789abcdef"});
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    std::list<Client> idle;
    for (std::size_t i = 0; i < LocalBus::MAX_STATIONS; ++i) EXPECT_EQ(idle.emplace_back(bus).Next(), "< hi >");
    const auto station = bus::OpenLocalSocketcand(path);
    ASSERT_TRUE(station);
    ASSERT_EQ(station->Send(NumberedFrame(7), DEADLINE_MS), bus::Endpoint::result_t::OK);
    ASSERT_EQ(bus.Receive(frame, DEADLINE_MS), bus::Endpoint::result_t::OK);
    EXPECT_EQ(NumberOf(frame), 7U);
  }
  EXPECT_FALSE(bus::OpenLocalSocketcand(path));
  EXPECT_EQ(access(path.c_str(), F_OK), -1) << "the socket stays after its bus";
}

TEST(LocalBusTest, ServesTheLoopbackOnlyAndSaysWhatToDo) {
  const LocalBus first({.address = "127.0.0.1:0"});
  const std::pair<std::string, const char*> cases[] = {
      {"0.0.0.0:0", "loopback only"},
      {"127.0.0.1", "write HOST:PORT"},
      {"127.0.0.1:http:x", "write HOST:PORT"},
      {first.Address(), "--socketcand 127.0.0.1:PORT"},
  };
  for (const auto& [address, text] : cases) {
    try {
      const LocalBus bus({.address = address});
      ADD_FAILURE() << address;
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr(text)) << address;
    }
  }
}

}  // namespace
}  // namespace unit
