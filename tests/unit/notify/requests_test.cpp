#include "notify/requests.h"

#include <string>

#include "gmock/gmock.h"

namespace unit {
namespace {

using bytes_t = std::vector<std::uint8_t>;
using ::testing::ElementsAreArray;

class NoPulses : public PulsePort {
 public:
  bool Open(int /*client*/, int process, int /*chid*/) override { return process != 666; }
  Result Send(int /*client*/) override { return Result::kSent; }
  void Close(int /*client*/) override {}
};

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

  NoPulses pulses;
  Exchange exchange{{.messages = 300, .bytes = 1000}, pulses};
  int observed = 0;
  RequestHandler handler{exchange, [this](int, std::span<const std::uint8_t>) { ++observed; }};
};

TEST_F(RequestsTest, AConversationIsAnsweredByteForByte) {
  const bytes_t second =
      Ask({0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 2, 1, 0, 0, 4, 0, 0, 0});
  EXPECT_THAT(second, ElementsAreArray({0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 2, 0, 0, 0}));
  EXPECT_THAT(Ask({1, 0, 0, 0, 255, 255, 255, 255, 3, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 0}),
              ElementsAreArray({1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0}));
  EXPECT_THAT(Ask({2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0}),
              ElementsAreArray({2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0}));
  // Room for 1000 / 4 = 250 messages of this size, one of which is taken.
  EXPECT_THAT(Ask({3, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 1, 0, 0, 0, 9, 8, 7, 6}),
              ElementsAreArray({3, 0, 0, 0, 1, 0, 0, 0, 249, 0, 0, 0, 1, 0, 0, 0}));
  EXPECT_THAT(Ask({4, 0, 0, 0, 255, 255, 255, 255, 0, 40, 0, 0, 2, 0, 0, 0}),
              ElementsAreArray({4, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 2, 0, 0, 0, 9, 8, 7, 6}));
  EXPECT_THAT(Ask({4, 0, 0, 0, 255, 255, 255, 255, 0, 40, 0, 0, 2, 0, 0, 0}),
              ElementsAreArray({4, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 2, 0, 0, 0}));
  EXPECT_EQ(observed, 1);
}

TEST_F(RequestsTest, AFetchGetsNoMoreThanItHasRoomFor) {
  Ask({0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 2, 1, 0, 0, 4, 0, 0, 0});
  Ask({2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0});
  Ask({3, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 1, 0, 0, 0, 9, 8, 7, 6});
  EXPECT_THAT(Ask({4, 0, 0, 0, 255, 255, 255, 255, 2, 0, 0, 0, 2, 0, 0, 0}),
              ElementsAreArray({4, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 2, 0, 0, 0, 9, 8}));
  EXPECT_EQ(handler.Cut(), 1U);
}

TEST_F(RequestsTest, ARequestThatIsWrongIsRefusedAndCountedByItsCause) {
  bytes_t longName = {1, 0, 0, 0, 255, 255, 255, 255, 129, 0, 0, 0, 1, 0, 0, 0};
  longName.insert(longName.end(), 128, 'n');
  longName.push_back(0);
  struct {
    const char* what;
    bytes_t request;
    std::size_t sent;
    Refusal cause;
  } const cases[] = {
      {"empty", {}, 0, Refusal::kTruncatedHeader},
      {"half a header", {3, 0, 0, 0, 1, 0, 0, 0}, 0, Refusal::kTruncatedHeader},
      {"sent more than was received", bytes_t(NM_MESSAGE_SIZE, 3), 20'000, Refusal::kOversize},
      {"type -1", {255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}, 0, Refusal::kBadType},
      {"type 5", {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}, 0, Refusal::kBadType},
      {"connect without its words",
       {0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0},
       0,
       Refusal::kBadLength},
      {"connect with an unreachable channel",
       {0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 154, 2, 0, 0, 1, 0, 0, 0},
       0,
       Refusal::kNoPulse},
      {"connect with channel 0",
       {0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0, 0, 0, 0, 0},
       0,
       Refusal::kNoPulse},
      {"identity never given", {3, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0}, 0, Refusal::kWrongClient},
      {"identity -1",
       {4, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0, 255, 255, 255, 255},
       0,
       Refusal::kWrongClient},
      {"channel 0", {2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}, 0, Refusal::kUnknownChannel},
      {"channel 2", {3, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}, 0, Refusal::kUnknownChannel},
      {"length beyond the payload",
       {3, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 1},
       0,
       Refusal::kBadLength},
      {"payload beyond the length",
       {3, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 2},
       0,
       Refusal::kBadLength},
      {"negative length", {3, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255, 1, 0, 0, 0}, 0, Refusal::kBadLength},
      {"fetch with a negative room",
       {4, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255, 1, 0, 0, 0},
       0,
       Refusal::kBadLength},
      {"name without its zero",
       {1, 0, 0, 0, 255, 255, 255, 255, 2, 0, 0, 0, 1, 0, 0, 0, 'a', 'b'},
       0,
       Refusal::kBadName},
      {"name of length 0", {1, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 1, 0, 0, 0}, 0, Refusal::kBadName},
      {"name of 128 bytes", longName, 0, Refusal::kBadName},
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

}  // namespace
}  // namespace unit
