// The notification manager without its message path: queues and pulses, the requests' bytes, and
// who has stopped.
#include <map>
#include <string>

#include <gmock/gmock.h>

#include "tests/unit/support/test_folder.h"
#include "unit/notify/exchange.h"
#include "unit/notify/heartbeats.h"
#include "unit/notify/requests.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using bytes_t = std::vector<std::uint8_t>;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Counts the pulses of each client, and takes none beyond its room.
class FakePulses : public PulsePort {
 public:
  bool Open(int /*client*/, int process, int /*chid*/) override { return process != UNREACHABLE; }
  Result Send(int client) override {
    if (room == 0) return Result::kFull;
    --room;
    ++sent[client];
    return Result::kSent;
  }
  void Close(int client) override { sent.erase(client); }

  static constexpr int UNREACHABLE = 666;
  int room = 1'000'000;
  std::map<int, int> sent;
};

class ExchangeTest : public ::testing::Test {
 protected:
  bytes_t Bytes(const std::string& text) { return {text.begin(), text.end()}; }
  int Publish(int sender, const std::string& text) { return exchange.Publish(sender, channel, Bytes(text)); }
  std::vector<std::string> FetchAll(int client) {
    std::vector<std::string> texts;
    while (const auto message = exchange.Fetch(client)) {
      texts.emplace_back(message->payload->begin(), message->payload->end());
    }
    return texts;
  }

  FakePulses pulses;
  Exchange exchange{{.messages = 4, .bytes = 20}, pulses};
  int channel = exchange.RegisterName("events");
  int alice = exchange.AddClient(10, 1, 1);
  int bob = exchange.AddClient(11, 2, 1);
  int carol = exchange.AddClient(11, 2, 2);
};

TEST_F(ExchangeTest, EverySubscriberButTheSenderGetsEachMessageInOrderWithOnePulse) {
  for (const int client : {alice, bob, bob}) exchange.Subscribe(client, channel);
  Publish(alice, "one");
  Publish(bob, "two");
  Publish(alice, "three");
  EXPECT_THAT(FetchAll(alice), ElementsAre("two"));
  EXPECT_THAT(FetchAll(bob), ElementsAre("one", "three"));
  EXPECT_THAT(FetchAll(carol), IsEmpty());
  EXPECT_EQ(pulses.sent, (std::map<int, int>{{alice, 1}, {bob, 2}}));
}

TEST_F(ExchangeTest, ANameHasOneNumberForAllAndNumbersStartAtOne) {
  EXPECT_EQ(channel, 1);
  EXPECT_EQ(exchange.RegisterName("actions"), 2);
  EXPECT_EQ(exchange.RegisterName("events"), 1);
  EXPECT_TRUE(exchange.HasChannel(2));
  for (const int unknown : {-1, 0, 3}) EXPECT_FALSE(exchange.HasChannel(unknown)) << unknown;
}

TEST_F(ExchangeTest, AFullQueueLosesItsOldestMessagesAndNobodyElses) {
  exchange.Subscribe(bob, channel);
  exchange.Subscribe(carol, channel);
  std::vector<int> room;
  for (const char* text : {"a", "b", "c", "d", "e"}) {
    room.push_back(Publish(alice, text));
    exchange.Fetch(carol);
  }
  EXPECT_THAT(room, ElementsAre(3, 2, 1, 0, 0));
  EXPECT_EQ(exchange.Lost(), 1U);
  const std::vector<Loss_t> losses = exchange.TakeLosses();
  ASSERT_EQ(losses.size(), 1U);
  EXPECT_EQ(losses[0].client, bob);
  EXPECT_EQ(losses[0].messages, 1U);
  EXPECT_THAT(exchange.TakeLosses(), IsEmpty());
  EXPECT_EQ(pulses.sent[bob], 4) << "a message that takes a lost one's place needs no pulse of its own";
  EXPECT_THAT(FetchAll(bob), ElementsAre("b", "c", "d", "e"));
}

TEST_F(ExchangeTest, BytesBoundAQueueAsMessagesDo) {
  exchange.Subscribe(bob, channel);
  EXPECT_EQ(Publish(alice, "0123456789"), 1);
  EXPECT_EQ(Publish(alice, "0123456789"), 0);
  EXPECT_EQ(exchange.Lost(), 0U);
  EXPECT_EQ(Publish(alice, "abc"), 0);
  EXPECT_EQ(Publish(alice, std::string(30, 'x')), 0);
  EXPECT_THAT(FetchAll(bob), ElementsAre(std::string(30, 'x')));
  EXPECT_EQ(exchange.Lost(), 3U);
}

TEST_F(ExchangeTest, APulseThatFoundNoRoomIsOwedAndMadeGood) {
  exchange.Subscribe(bob, channel);
  pulses.room = 1;
  Publish(alice, "a");
  Publish(alice, "b");
  Publish(alice, "c");
  EXPECT_EQ(pulses.sent[bob], 1);
  EXPECT_TRUE(exchange.AnyPulseOwed());

  pulses.room = 1;
  exchange.Fetch(bob);
  EXPECT_EQ(pulses.sent[bob], 2) << "the fetch makes good what it can";

  pulses.room = 10;
  exchange.PayOwedPulses();
  EXPECT_EQ(pulses.sent[bob], 3);
  EXPECT_FALSE(exchange.AnyPulseOwed());
}

TEST_F(ExchangeTest, AConnectionThatEndsTakesItsClientsAndTheirQueuesAlong) {
  for (const int client : {alice, bob, carol}) exchange.Subscribe(client, channel);
  Publish(alice, "a");
  exchange.RemoveConnection(11);
  EXPECT_EQ(exchange.ClientCount(), 1U);
  EXPECT_FALSE(exchange.Owns(11, bob));
  EXPECT_TRUE(exchange.Owns(10, alice));
  EXPECT_EQ(Publish(alice, "b"), 4) << "with no other subscriber there is all the room";
  EXPECT_GT(exchange.AddClient(12, 3, 1), carol) << "an identity is not given again";
}

TEST_F(ExchangeTest, ClientsAndChannelsAreBounded) {
  EXPECT_EQ(exchange.AddClient(12, FakePulses::UNREACHABLE, 1), -1);
  while (exchange.ClientCount() < Exchange::MAX_CLIENTS) ASSERT_GT(exchange.AddClient(12, 3, 1), 0);
  EXPECT_EQ(exchange.AddClient(12, 3, 1), 0);
  for (std::size_t i = exchange.ChannelCount(); i < Exchange::MAX_CHANNELS; ++i) {
    ASSERT_GT(exchange.RegisterName("channel " + std::to_string(i)), 0);
  }
  EXPECT_EQ(exchange.RegisterName("one more"), 0);
  EXPECT_EQ(exchange.RegisterName("events"), 1);
}

constexpr int CONNECTION = 7;

class RequestsTest : public ::testing::Test {
 protected:
  RequestsTest() {
    // Connect: process 258, channel 3; then register "ab". Both come as the client sends them.
    Ask({0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 2, 1, 0, 0, 3, 0, 0, 0});
    Ask({1, 0, 0, 0, 255, 255, 255, 255, 3, 0, 0, 0, 1, 0, 0, 0, 'a', 'b', 0});
  }
  bytes_t Ask(const bytes_t& request, std::size_t sent = 0, int connection = CONNECTION) {
    std::array<std::uint8_t, NM_MESSAGE_SIZE> reply{};
    const std::size_t size = handler.Answer({request, sent == 0 ? request.size() : sent, connection}, reply);
    return {reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(size)};
  }

  FakePulses pulses;
  Exchange exchange{{.messages = 300, .bytes = 1000}, pulses};
  int observed = 0;
  RequestHandler handler{exchange, [this](int, std::span<const std::uint8_t>) { ++observed; }};
};

TEST_F(RequestsTest, AFetchGetsNoMoreThanItHasRoomFor) {
  Ask({0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 2, 1, 0, 0, 4, 0, 0, 0});
  Ask({2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0});
  // Room for 1000 / 4 = 250 messages of this size, one of which is taken.
  EXPECT_THAT(Ask({3, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 1, 0, 0, 0, 9, 8, 7, 6}),
              ElementsAreArray({3, 0, 0, 0, 1, 0, 0, 0, 249, 0, 0, 0, 1, 0, 0, 0}));
  EXPECT_THAT(Ask({4, 0, 0, 0, 255, 255, 255, 255, 2, 0, 0, 0, 2, 0, 0, 0}),
              ElementsAreArray({4, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 9, 8}));
  EXPECT_THAT(Ask({4, 0, 0, 0, 255, 255, 255, 255, 0, 40, 0, 0, 2, 0, 0, 0}),
              ElementsAreArray({4, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 2, 0, 0, 0}))
      << "nothing waits";
  EXPECT_EQ(handler.Cut(), 1U);
}

TEST_F(RequestsTest, ARequestThatIsWrongIsRefusedAndCountedByItsCause) {
  bytes_t longName = {1, 0, 0, 0, 255, 255, 255, 255, 129, 0, 0, 0, 1, 0, 0, 0};
  longName.insert(longName.end(), 128, 'n');
  longName.push_back(0);
  const auto connect = [](const bytes_t& words) {
    bytes_t request = {0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255};
    request.insert(request.end(), words.begin(), words.end());
    return request;
  };
  struct {
    const char* what;
    Refusal cause;
    bytes_t request;
    std::size_t sent = 0;
  } const cases[] = {
      {"empty", Refusal::kTruncatedHeader, {}},
      {"half a header", Refusal::kTruncatedHeader, {3, 0, 0, 0, 1, 0, 0, 0}},
      {"sent more than was received", Refusal::kOversize, bytes_t(NM_MESSAGE_SIZE, 3), 20'000},
      {"type -1", Refusal::kBadType, {255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"type 5", Refusal::kBadType, {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"connect without its words", Refusal::kBadLength, connect({1, 0, 0, 0})},
      {"connect with an unreachable channel", Refusal::kNoPulse, connect({154, 2, 0, 0, 1, 0, 0, 0})},
      {"connect with channel 0", Refusal::kNoPulse, connect({1, 0, 0, 0, 0, 0, 0, 0})},
      {"identity never given", Refusal::kWrongClient, {3, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0}},
      {"identity -1", Refusal::kWrongClient, {4, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255}},
      {"channel 0", Refusal::kUnknownChannel, {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"channel 2", Refusal::kUnknownChannel, {3, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"length beyond the payload", Refusal::kBadLength, {3, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1}},
      {"payload beyond the length",
       Refusal::kBadLength,
       {3, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 2}},
      {"negative length", Refusal::kBadLength, {3, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0}},
      {"negative room", Refusal::kBadLength, {4, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0}},
      {"name without its zero", Refusal::kBadName, {1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 'a', 'b'}},
      {"name of length 0", Refusal::kBadName, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"name of 128 bytes", Refusal::kBadName, longName},
  };
  for (const auto& c : cases) {
    const std::uint64_t before = handler.Refused(c.cause);
    const bytes_t reply = Ask(c.request, c.sent);
    ASSERT_EQ(reply.size(), NM_HEADER_SIZE) << c.what;
    EXPECT_THAT(bytes_t(reply.begin() + 4, reply.begin() + 12),
                ElementsAreArray({255, 255, 255, 255, 256 - static_cast<int>(c.cause), 255, 255, 255}))
        << c.what;
    EXPECT_EQ(handler.Refused(c.cause), before + 1) << c.what;
  }
  EXPECT_EQ(observed, 0);
}

TEST_F(RequestsTest, AnIdentityIsGoodOnItsOwnConnectionOnly) {
  const bytes_t subscribe = {2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0};
  Ask(subscribe, 0, CONNECTION + 1);
  EXPECT_EQ(handler.Refused(Refusal::kWrongClient), 1U);
  Ask(subscribe);
  EXPECT_EQ(handler.Refused(Refusal::kWrongClient), 1U);
}

TEST(HeartbeatMonitorTest, ReportsOnceWhenAWorkerFallsSilentAndOnceWhenItIsBack) {
  const TestFolder folder;
  const std::string file =
      folder.Write("generic.xml", R"(<orvik-generic version="1"><App id="1" name="a"/><Events channel="Events">
    <Event name="orvik.ParseHeartbeatEvent" id="70"/><Event name="orvik.DispatchHeartbeatEvent" id="300"/>
    <Event name="orvik.ExitApplication" id="9"/>
    </Events></orvik-generic>)");
  HeartbeatMonitor monitor;
  EXPECT_EQ(monitor.Load(file), "");
  EXPECT_EQ(monitor.ChannelName(), "Events");
  monitor.SetChannel(5);

  HeartbeatMonitor::time_t now{1000s};
  EXPECT_THAT(monitor.Check(now), IsEmpty()) << "nothing is expected of a worker that was never seen";
  const std::vector<std::uint8_t> parse = {70, 0, 0, 0};
  const std::vector<std::uint8_t> dispatch = {44, 1, 0, 0};
  EXPECT_EQ(monitor.Note(5, parse, now), std::nullopt);
  EXPECT_EQ(monitor.Note(5, dispatch, now), std::nullopt);
  now += 1999ms;
  EXPECT_THAT(monitor.Check(now), IsEmpty());
  monitor.Note(5, dispatch, now);
  monitor.Note(4, parse, now);                          // another channel
  monitor.Note(5, std::vector<std::uint8_t>{70}, now);  // not an event number
  now += 1ms;
  EXPECT_THAT(monitor.Check(now), ElementsAre(HasSubstr("Parse")));
  EXPECT_THAT(monitor.Check(now + 1s), IsEmpty());
  EXPECT_THAT(monitor.Note(5, parse, now + 1s), ::testing::Optional(HasSubstr("Parse worker is back")));
  EXPECT_EQ(monitor.Note(5, parse, now + 1s), std::nullopt);

  // The application ends as it should: its last heartbeats and its silence are nothing to report.
  now += 1s;
  monitor.Note(5, std::vector<std::uint8_t>{9, 0, 0, 0}, now);
  monitor.Note(5, parse, now + 10ms);
  EXPECT_THAT(monitor.Check(now + 5s), IsEmpty());
  // Its next run is supervised as the first was.
  now += 7s;
  monitor.Note(5, parse, now);
  EXPECT_THAT(monitor.Check(now + 2s), ElementsAre(HasSubstr("Parse")));
}

}  // namespace
}  // namespace unit
