// The notification manager without its message path: queues, pulses and the bytes of requests.
#include <map>
#include <string>

#include <gmock/gmock.h>

#include "src/hostlink/j1939_external.h"
#include "src/screenapi/screen_messages.h"
#include "tests/support/bytes.h"
#include "unit/notify/exchange.h"
#include "unit/notify/requests.h"
#include "unit/notify/state_channels.h"

namespace unit {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Counts the pulses of each client, and refuses pulses when `room` is used up.
class FakePulses : public PulsePort {
 public:
  bool Open(int /*client*/, int process, int /*chid*/) override { return process != UNREACHABLE; }
  delivery_t Send(int client) override {
    if (room == 0) return delivery_t::FULL;
    --room;
    ++sent[client];
    return delivery_t::SENT;
  }
  void Close(int client) override { sent.erase(client); }

  static constexpr int UNREACHABLE = 666;
  int room = 1'000'000;
  std::map<int, int> sent;
};

class ExchangeTest : public ::testing::Test {
 protected:
  explicit ExchangeTest(queue_limits_t limits = {.messages = 4, .bytes = 20}) : exchange_(limits, pulses_) {}
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
  Exchange exchange_;
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
  const std::vector<loss_t> losses = exchange_.DrainLosses();
  ASSERT_EQ(losses.size(), 1U);
  EXPECT_EQ(losses[0].client, bob_);
  EXPECT_EQ(losses[0].messages, 1U);
  EXPECT_THAT(exchange_.DrainLosses(), IsEmpty());
  EXPECT_EQ(pulses_.sent[bob_], 4) << "a message that replaces a lost one sends no pulse";
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
  EXPECT_EQ(pulses_.sent[bob_], 2) << "a fetch sends the pulses that are owed while there is room";

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
  EXPECT_EQ(Publish(alice_, "b"), 4) << "without another subscriber the whole queue is free";
  EXPECT_GT(exchange_.AddClient(12, 3, 1), carol_) << "no identity is used twice";
}

// "a1" and "a2" set the same and are kept, "P1" and "P2" set the same and are not; "!" sets nothing.
state_key_t FirstCharacter(std::span<const std::uint8_t> payload) {
  const char first = static_cast<char>(payload[0]);
  return first == '!' ? state_key_t{} : state_key_t{std::string(1, first), first != 'P'};
}

TEST_F(ExchangeTest, TheNewestOfEachKeyReachesWhoSubscribesLateAndWhoLostIt) {
  exchange_.SetStateRule(channel_, FirstCharacter);
  for (const char* text : {"a1", "b1", "!", "P1", "a2"}) Publish(alice_, text);
  exchange_.Subscribe(bob_, channel_);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("a2", "b1"));

  for (const char* text : {"a3", "b2", "c1", "!", "!", "c2", "d1"}) Publish(alice_, text);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("!", "!", "c2", "d1", "a3", "b2"))
      << "three were lost, two were the newest";
  EXPECT_EQ(exchange_.Lost(), 3U);
  EXPECT_EQ(pulses_.sent[bob_], 8);

  exchange_.Subscribe(alice_, channel_);
  EXPECT_THAT(FetchAll(alice_), IsEmpty()) << "its own";
  exchange_.RemoveConnection(10);
  exchange_.Subscribe(carol_, channel_);
  EXPECT_THAT(FetchAll(carol_), IsEmpty()) << "of a sender that has ended";
}

TEST_F(ExchangeTest, MoreKeptMessagesThanAQueueHoldsComeOneAfterTheOther) {
  exchange_.SetStateRule(channel_, FirstCharacter);
  for (const char* text : {"f", "e", "d", "c", "b", "a"}) Publish(alice_, text);
  exchange_.Subscribe(bob_, channel_);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("a", "b", "c", "d", "e", "f"));
  EXPECT_EQ(pulses_.sent[bob_], 6);
}

TEST_F(ExchangeTest, TheNewsOfAChannelComeInOrderToTheirOwnSubscribers) {
  const int news = exchange_.RegisterName("news");
  exchange_.SetStateRule(news, FirstCharacter);
  exchange_.SetNewsChannel(channel_, news, [](auto payload) { return payload[0] != '!'; });
  Publish(alice_, "a1");
  exchange_.Subscribe(bob_, news);
  exchange_.Subscribe(carol_, channel_);
  for (const char* text : {"!", "b1", "!", "c1"}) Publish(alice_, text);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("a1", "b1", "c1")) << "the first was kept";
  EXPECT_THAT(FetchAll(carol_), ElementsAre("!", "b1", "!", "c1"));
  EXPECT_EQ(pulses_.sent, (std::map<int, int>{{bob_, 3}, {carol_, 4}}));
}

class SlowReaderTest : public ExchangeTest {
 protected:
  SlowReaderTest() : ExchangeTest({.messages = 8, .bytes = 12, .behind = 3}) {}
};

TEST_F(SlowReaderTest, TheNewestOfAStateTakesThePlaceOfTheOlder) {
  exchange_.SetStateRule(channel_, FirstCharacter);
  exchange_.Subscribe(bob_, channel_);
  for (const char* text : {"a1", "a2", "P1", "b1", "a3", "P2", "!", "!"}) Publish(alice_, text);
  EXPECT_EQ(exchange_.Merged(), 2U);
  EXPECT_EQ(pulses_.sent[bob_], 6);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("a1", "a3", "P2", "b1", "!", "!"));

  for (const char* text : {"a4", "b2", "c1", "c23456789"}) Publish(alice_, text);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("c1", "c23456789", "a4", "b2"))
      << "too long for the older one's place";
}

TEST_F(SlowReaderTest, AMessageThatActsOnThoseBeforeItStaysBehindThem) {
  exchange_.SetStateRule(channel_, [](auto payload) {
    return state_key_t{.name = std::string(1, char(payload[0])), .isClosing = payload[0] == 'P'};
  });
  exchange_.Subscribe(bob_, channel_);
  for (const char* text : {"a1", "P", "b1", "P", "a2", "P"}) Publish(alice_, text);
  EXPECT_THAT(FetchAll(bob_), ElementsAre("a2", "P", "b1", "P"));
}

TEST(StateChannelsTest, OneThingOfAWidgetHasOneKey) {
  const auto key = [](std::initializer_list<std::int64_t> words) {
    return ScreenMessageKey(Words(words)).name;
  };
  EXPECT_EQ(key({7, SCREEN_SET_TEXT, 0, 'a'}), key({7, SCREEN_SET_TEXT, 2, 'b'}));
  EXPECT_NE(key({7, SCREEN_SET_TEXT, 0, 'a'}), key({8, SCREEN_SET_TEXT, 0, 'a'}));
  EXPECT_NE(key({7, SCREEN_SET_TEXT, 0}), key({7, SCREEN_MOVE, 0, 0}));
  EXPECT_EQ(key({7, SCREEN_SHOW}), key({7, SCREEN_HIDE}));
  EXPECT_NE(key({7, SCREEN_SET_COLOR, 0}), key({7, SCREEN_SET_COLOR, 1}));
  for (const auto& none : {Words({7}), Words({7, SCREEN_SET_COLOR}), Words({7, 99})}) {
    EXPECT_EQ(ScreenMessageKey(none).name, "");
  }
  EXPECT_FALSE(ScreenMessageKey(Words({0, SCREEN_PROCESS_COMMANDS})).isKept);
  EXPECT_TRUE(ScreenMessageKey(Words({0, SCREEN_PROCESS_COMMANDS})).isClosing);
  EXPECT_TRUE(ScreenMessageKey(Words({7, SCREEN_SHOW})).isKept);
}

TEST(StateChannelsTest, ProcessCommandsIsNewsAfterAnotherMessageAndEveryTenthOfASecond) {
  const bytes_t process = Words({0, SCREEN_PROCESS_COMMANDS});
  const bytes_t show = Words({7, SCREEN_SHOW});
  struct step_t {
    int at_ms;
    bytes_t message;
    bool isNews;
  };
  ScreenNews news;
  for (const step_t& step : {step_t{0, process, true},
                             {10, process, false},
                             {20, show, true},
                             {20, process, true},
                             {30, process, false},
                             {40, show, true},
                             {50, show, true},
                             {50, process, true},
                             {149, process, false},
                             {150, process, true},
                             {160, process, false},
                             {170, {}, true}}) {
    EXPECT_EQ(news.Accept(step.message, ScreenNews::TimePoint(std::chrono::milliseconds(1000 + step.at_ms))),
              step.isNews)
        << step.at_ms << " ms";
  }
}

TEST(StateChannelsTest, AReceiveFilterIsKeptAndAFrameToSendIsNot) {
  bytes_t request(J1939_NAME_AT + 2);
  EXPECT_TRUE(J1939RequestKey(request).isKept) << "type 0, a filter";
  bytes_t other = request;
  other[J1939_IDENTIFIER_AT] = 1;
  EXPECT_NE(J1939RequestKey(request).name, J1939RequestKey(other).name);
  request[J1939_TYPE_AT] = J1939_SEND;
  EXPECT_EQ(J1939RequestKey(request).name, "");
  other.resize(J1939_NAME_AT);
  EXPECT_EQ(J1939RequestKey(other).name, "") << "without a channel name";
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
    // The client connects (process 258, channel 3) and registers the name "ab".
    Ask(Words({0, -1, 0, -1, 258, 3}));
    Ask(Words({1, -1, 3, 1}) + bytes_t{'a', 'b', 0});
  }
  bytes_t Ask(const bytes_t& request, std::size_t sent = 0, int connection = CONNECTION) {
    std::array<std::uint8_t, NM_MESSAGE_SIZE> reply{};
    const std::size_t size = handler_.Answer({request, sent == 0 ? request.size() : sent, connection}, reply);
    return {reply.begin(), reply.begin() + static_cast<std::ptrdiff_t>(size)};
  }

  FakePulses pulses_;
  Exchange exchange_{{.messages = 300, .bytes = 1000}, pulses_};
  int observed_ = 0;
  RequestHandler handler_{exchange_, [this](int, int, std::span<const std::uint8_t>) { ++observed_; }};
};

TEST_F(RequestsTest, AFetchGetsNoMoreThanItHasRoomFor) {
  Ask(Words({0, -1, 0, -1, 258, 4}));
  Ask(Words({2, 1, 0, 2}));
  // Room for 1000 / 4 = 250 messages of this size, one of which is taken.
  EXPECT_EQ((Ask(Words({3, 1, 4, 1}) + bytes_t{9, 8, 7, 6})), Words({3, 1, 249, 1}));
  EXPECT_EQ(Ask(Words({4, -1, 2, 2})), (Words({4, 1, 2, 2}) + bytes_t{9, 8}));
  EXPECT_EQ(Ask(Words({4, -1, 10240, 2})), Words({4, -1, 0, 2})) << "the queue is empty";
  EXPECT_EQ(handler_.Cut(), 1U);
}

TEST_F(RequestsTest, ARequestThatIsWrongIsRefusedAndCountedByItsCause) {
  struct {
    const char* name;
    refusal_t cause;
    bytes_t request;
    std::size_t sent = 0;
  } const cases[] = {
      {"empty", refusal_t::TRUNCATED_HEADER, {}},
      {"half a header", refusal_t::TRUNCATED_HEADER, Words({3, 1})},
      {"sent more than was received", refusal_t::OVERSIZE, bytes_t(NM_MESSAGE_SIZE, 3), 20'000},
      {"type -1", refusal_t::BAD_TYPE, Words({-1, 0, 0, 1})},
      {"type 5", refusal_t::BAD_TYPE, Words({5, 0, 0, 1})},
      {"connect without its words", refusal_t::BAD_LENGTH, Words({0, -1, 0, -1, 1})},
      {"connect with an unreachable channel", refusal_t::NO_PULSE, Words({0, -1, 0, -1, 666, 1})},
      {"connect with channel 0", refusal_t::NO_PULSE, Words({0, -1, 0, -1, 1, 0})},
      {"identity never given", refusal_t::WRONG_CLIENT, Words({3, 1, 0, 9})},
      {"identity -1", refusal_t::WRONG_CLIENT, Words({4, 0, 1, -1})},
      {"channel 0", refusal_t::UNKNOWN_CHANNEL, Words({2, 0, 0, 1})},
      {"channel 2", refusal_t::UNKNOWN_CHANNEL, Words({3, 2, 0, 1})},
      {"length beyond the payload", refusal_t::BAD_LENGTH, Words({3, 1, 2, 1}) + bytes_t{1}},
      {"payload beyond the length", refusal_t::BAD_LENGTH, Words({3, 1, 1, 1}) + bytes_t{1, 2}},
      {"negative length", refusal_t::BAD_LENGTH, Words({3, 1, -1, 1})},
      {"negative room", refusal_t::BAD_LENGTH, Words({4, 0, -1, 1})},
      {"name without its zero", refusal_t::BAD_NAME, Words({1, 0, 2, 1}) + bytes_t{'a', 'b'}},
      {"name of length 0", refusal_t::BAD_NAME, Words({1, 0, 0, 1})},
      {"name of 128 bytes", refusal_t::BAD_NAME, Words({1, -1, 129, 1}) + bytes_t(128, 'n') + bytes_t{0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::uint64_t before = handler_.Refused(c.cause);
    const bytes_t reply = Ask(c.request, c.sent);
    ASSERT_EQ(reply.size(), NM_HEADER_SIZE);
    EXPECT_EQ(bytes_t(reply.begin() + 4, reply.begin() + 12), Words({-1, -static_cast<int>(c.cause)}));
    EXPECT_EQ(handler_.Refused(c.cause), before + 1);
  }
  EXPECT_EQ(observed_, 0);
}

TEST_F(RequestsTest, AnIdentityIsGoodOnItsOwnConnectionOnly) {
  const bytes_t subscribe = Words({2, 1, 0, 1});
  Ask(subscribe, 0, CONNECTION + 1);
  EXPECT_EQ(handler_.Refused(refusal_t::WRONG_CLIENT), 1U);
  Ask(subscribe);
  EXPECT_EQ(handler_.Refused(refusal_t::WRONG_CLIENT), 1U);
}

}  // namespace
}  // namespace unit
