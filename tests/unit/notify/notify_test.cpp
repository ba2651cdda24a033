// The notification manager without its message path: queues, pulses and the bytes of requests.
#include <map>
#include <string>

#include <gmock/gmock.h>

#include "unit/notify/exchange.h"
#include "unit/notify/requests.h"

namespace unit {
namespace {

using bytes_t = std::vector<std::uint8_t>;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

// Counts the pulses of each client, and takes none beyond its room.
class FakePulses : public PulsePort {
 public:
  bool Open(int /*client*/, int process, int /*chid*/) override { return process != UNREACHABLE; }
  result_t Send(int client) override {
    if (room == 0) return result_t::FULL;
    --room;
    ++sent[client];
    return result_t::SENT;
  }
  void Close(int client) override { sent.erase(client); }

  static constexpr int UNREACHABLE = 666;
  int room = 1'000'000;
  std::map<int, int> sent;
};

class ExchangeTest : public ::testing::Test {
 protected:
  bytes_t Bytes(const std::string& text) { return {text.begin(), text.end()}; }
  int Publish(int sender, const std::string& text) { return exchange_.Publish(sender, channel_, Bytes(text)); }
  std::vector<std::string> FetchAll(int client) {
    std::vector<std::string> texts;
    while (const auto message = exchange_.Fetch(client)) {
      texts.emplace_back(message->payload->begin(), message->payload->end());
    }
    return texts;
  }

  FakePulses pulses_;
  Exchange exchange_{{.messages = 4, .bytes = 20}, pulses_};
  int channel_ = exchange_.RegisterName("events");
  int alice_ = exchange_.AddClient(10, 1, 1);
  int bob_ = exchange_.AddClient(11, 2, 1);
  int carol_ = exchange_.AddClient(11, 2, 2);
};

TEST_F(ExchangeTest, EverySubscriberButTheSenderGetsEachMessageInOrderWithOnePulse) {
  for (const int client : {alice_, bob_, bob_}) exchange_.Subscribe(client, channel_);
  Publish(alice_, "one");
  Publish(bob_, "two");
  Publish(alice_, "three");
  EXPECT_THAT(FetchAll(alice_), ElementsAre("two"));
  EXPECT_THAT(FetchAll(bob_), ElementsAre("one", "three"));
  EXPECT_THAT(FetchAll(carol_), IsEmpty());
  EXPECT_EQ(pulses_.sent, (std::map<int, int>{{alice_, 1}, {bob_, 2}}));
}

TEST_F(ExchangeTest, ANameHasOneNumberForAllAndNumbersStartAtOne) {
  EXPECT_EQ(channel_, 1);
  EXPECT_EQ(exchange_.RegisterName("actions"), 2);
  EXPECT_EQ(exchange_.RegisterName("events"), 1);
  EXPECT_TRUE(exchange_.HasChannel(2));
  for (const int unknown : {-1, 0, 3}) EXPECT_FALSE(exchange_.HasChannel(unknown)) << unknown;
}

TEST_F(ExchangeTest, AFullQueueLosesItsOldestMessagesAndNobodyElses) {
  exchange_.Subscribe(bob_, channel_);
  exchange_.Subscribe(carol_, channel_);
  std::vector<int> room;
  for (const char* text : {"a", "b", "c", "d", "e"}) {
    room.push_back(Publish(alice_, text));
    exchange_.Fetch(carol_);
  }
  EXPECT_THAT(room, ElementsAre(3, 2, 1, 0, 0));
  EXPECT_EQ(exchange_.Lost(), 1U);
  const std::vector<loss_t> losses = exchange_.TakeLosses();
  ASSERT_EQ(losses.size(), 1U);
  EXPECT_EQ(losses[0].client, bob_);
  EXPECT_EQ(losses[0].messages, 1U);
  EXPECT_THAT(exchange_.TakeLosses(), IsEmpty());
  EXPECT_EQ(pulses_.sent[bob_], 4) << "a message that takes a lost one's place needs no pulse of its own";
  EXPECT_THAT(FetchAll(bob_), ElementsAre("b", "c", "d", "e"));
}

TEST_F(ExchangeTest, BytesBoundAQueueAsMessagesDo) {
  exchange_.Subscribe(bob_, channel_);
  EXPECT_EQ(Publish(alice_, "0123456789"), 1);
  EXPECT_EQ(Publish(alice_, "0123456789"), 0);
  EXPECT_EQ(exchange_.Lost(), 0U);
  EXPECT_EQ(Publish(alice_, "abc"), 0);
  EXPECT_EQ(Publish(alice_, std::string(30, 'x')), 0);
  EXPECT_THAT(FetchAll(bob_), ElementsAre(std::string(30, 'x')));
  EXPECT_EQ(exchange_.Lost(), 3U);
}

TEST_F(ExchangeTest, APulseThatFoundNoRoomIsOwedAndMadeGood) {
  exchange_.Subscribe(bob_, channel_);
  pulses_.room = 1;
  Publish(alice_, "a");
  Publish(alice_, "b");
  Publish(alice_, "c");
  EXPECT_EQ(pulses_.sent[bob_], 1);
  EXPECT_TRUE(exchange_.AnyPulseOwed());

  pulses_.room = 1;
  exchange_.Fetch(bob_);
  EXPECT_EQ(pulses_.sent[bob_], 2) << "the fetch makes good what it can";

  pulses_.room = 10;
  exchange_.PayOwedPulses();
  EXPECT_EQ(pulses_.sent[bob_], 3);
  EXPECT_FALSE(exchange_.AnyPulseOwed());
}

TEST_F(ExchangeTest, AConnectionThatEndsTakesItsClientsAndTheirQueuesAlong) {
  for (const int client : {alice_, bob_, carol_}) exchange_.Subscribe(client, channel_);
  Publish(alice_, "a");
  exchange_.RemoveConnection(11);
  EXPECT_EQ(exchange_.ClientCount(), 1U);
  EXPECT_FALSE(exchange_.Owns(11, bob_));
  EXPECT_TRUE(exchange_.Owns(10, alice_));
  EXPECT_EQ(Publish(alice_, "b"), 4) << "with no other subscriber there is all the room";
  EXPECT_GT(exchange_.AddClient(12, 3, 1), carol_) << "an identity is not given again";
}

TEST_F(ExchangeTest, ClientsAndChannelsAreBounded) {
  EXPECT_EQ(exchange_.AddClient(12, FakePulses::UNREACHABLE, 1), -1);
  while (exchange_.ClientCount() < Exchange::MAX_CLIENTS) ASSERT_GT(exchange_.AddClient(12, 3, 1), 0);
  EXPECT_EQ(exchange_.AddClient(12, 3, 1), 0);
  for (std::size_t i = exchange_.ChannelCount(); i < Exchange::MAX_CHANNELS; ++i) {
    ASSERT_GT(exchange_.RegisterName("channel " + std::to_string(i)), 0);
  }
  EXPECT_EQ(exchange_.RegisterName("one more"), 0);
  EXPECT_EQ(exchange_.RegisterName("events"), 1);
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
    const std::size_t size = handler_.Answer({request, sent == 0 ? request.size() : sent, connection}, reply);
    return {reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(size)};
  }

  FakePulses pulses_;
  Exchange exchange_{{.messages = 300, .bytes = 1000}, pulses_};
  int observed_ = 0;
  RequestHandler handler_{exchange_, [this](int, std::span<const std::uint8_t>) { ++observed_; }};
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
  EXPECT_EQ(handler_.Cut(), 1U);
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
    refusal_t cause;
    bytes_t request;
    std::size_t sent = 0;
  } const cases[] = {
      {"empty", refusal_t::TRUNCATED_HEADER, {}},
      {"half a header", refusal_t::TRUNCATED_HEADER, {3, 0, 0, 0, 1, 0, 0, 0}},
      {"sent more than was received", refusal_t::OVERSIZE, bytes_t(NM_MESSAGE_SIZE, 3), 20'000},
      {"type -1", refusal_t::BAD_TYPE, {255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"type 5", refusal_t::BAD_TYPE, {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"connect without its words", refusal_t::BAD_LENGTH, connect({1, 0, 0, 0})},
      {"connect with an unreachable channel", refusal_t::NO_PULSE, connect({154, 2, 0, 0, 1, 0, 0, 0})},
      {"connect with channel 0", refusal_t::NO_PULSE, connect({1, 0, 0, 0, 0, 0, 0, 0})},
      {"identity never given", refusal_t::WRONG_CLIENT, {3, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0}},
      {"identity -1", refusal_t::WRONG_CLIENT, {4, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255}},
      {"channel 0", refusal_t::UNKNOWN_CHANNEL, {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"channel 2", refusal_t::UNKNOWN_CHANNEL, {3, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"length beyond the payload", refusal_t::BAD_LENGTH, {3, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1}},
      {"payload beyond the length",
       refusal_t::BAD_LENGTH,
       {3, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 2}},
      {"negative length", refusal_t::BAD_LENGTH, {3, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0}},
      {"negative room", refusal_t::BAD_LENGTH, {4, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0}},
      {"name without its zero",
       refusal_t::BAD_NAME,
       {1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 'a', 'b'}},
      {"name of length 0", refusal_t::BAD_NAME, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}},
      {"name of 128 bytes", refusal_t::BAD_NAME, longName},
  };
  for (const auto& c : cases) {
    const std::uint64_t before = handler_.Refused(c.cause);
    const bytes_t reply = Ask(c.request, c.sent);
    ASSERT_EQ(reply.size(), NM_HEADER_SIZE) << c.what;
    EXPECT_THAT(bytes_t(reply.begin() + 4, reply.begin() + 12),
                ElementsAreArray({255, 255, 255, 255, 256 - static_cast<int>(c.cause), 255, 255, 255}))
        << c.what;
    EXPECT_EQ(handler_.Refused(c.cause), before + 1) << c.what;
  }
  EXPECT_EQ(observed_, 0);
}

TEST_F(RequestsTest, AnIdentityIsGoodOnItsOwnConnectionOnly) {
  const bytes_t subscribe = {2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0};
  Ask(subscribe, 0, CONNECTION + 1);
  EXPECT_EQ(handler_.Refused(refusal_t::WRONG_CLIENT), 1U);
  Ask(subscribe);
  EXPECT_EQ(handler_.Refused(refusal_t::WRONG_CLIENT), 1U);
}

}  // namespace
}  // namespace unit
