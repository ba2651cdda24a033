// From the host's frames on the bus to whether its operating values are fresh.
#include "unit/hostwatch/host_watch.h"

#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/bytes.h"
#include "unit/hostwatch/host_report.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

struct frame_of_t {
  std::uint8_t number;
  std::uint8_t frames;  // of the message; looked at in frame 0 alone
  std::uint8_t command;
  std::uint8_t second = 0;
  std::uint8_t third = 0;
};
struct values_t {
  std::uint8_t frames = 6;
  std::uint8_t interrupted = 0xFF;  // the frame before which `other` comes
  frame_of_t other{0, 1, 7, 9};
};
using sent_t = std::variant<values_t, frame_of_t>;

constexpr values_t VALUES;
constexpr frame_of_t METRIC{0, 1, 7, 11, 1}, IMPERIAL{0, 1, 7, 11, 0}, NO_UNITS{0, 1, 7, 11, 2};
constexpr frame_of_t LANGUAGE{0, 1, 7, 13, 1}, TEXT{0, 1, 5};

bool Send(HostWatch& watch, const frame_of_t& sent, HostWatch::TimePoint now) {
  bytes_t frame{sent.number, sent.frames, sent.command, sent.second, sent.third, 0xFF, 0xFF, 0xFF};
  return watch.Accept(frame, now);
}

bool Send(HostWatch& watch, const values_t& values, HostWatch::TimePoint now) {
  bool unknown = false;
  for (std::uint8_t number = 0; number < values.frames; ++number) {
    if (number == values.interrupted) Send(watch, values.other, now);
    unknown = Send(watch, frame_of_t{number, values.frames, 2}, now) || unknown;
  }
  return unknown;
}

TEST(HostWatchTest, ValuesAreFreshWhileWholeMessagesOfOneUnitComeInTime) {
  struct case_t {
    const char* name;
    std::vector<std::pair<std::chrono::milliseconds, sent_t>> sent;
    std::chrono::milliseconds asked;
    bool fresh;
  };
  const std::vector<case_t> cases{
      {"nothing yet", {}, 1s, false},
      {"one message", {{0ms, VALUES}}, 200ms, true},
      {"not yet on the screen", {{0ms, VALUES}}, 199ms, false},
      {"no second time of waiting", {{0ms, VALUES}, {150ms, VALUES}}, 200ms, true},
      {"ten seconds", {{0ms, VALUES}}, 10s, true},
      {"more than ten seconds", {{0ms, VALUES}}, 10001ms, false},
      {"other messages are no values", {{0ms, VALUES}, {9s, TEXT}, {9s, LANGUAGE}}, 11s, false},
      {"values after a silence", {{0ms, VALUES}, {12s, VALUES}}, 12100ms, false},
      {"a little later", {{0ms, VALUES}, {12s, VALUES}}, 12200ms, true},
      {"a frame missing", {{0ms, values_t{5}}, {0ms, frame_of_t{6, 0, 2}}}, 1s, false},
      {"too short for the values", {{0ms, VALUES}, {1s, values_t{5}}}, 2s, false},
      {"whole again", {{0ms, VALUES}, {1s, values_t{5}}, {1s, VALUES}}, 2s, true},
      {"longer than the application takes", {{0ms, values_t{37}}}, 1s, false},
      {"as long as it takes", {{0ms, values_t{36}}}, 1s, true},
      {"other units", {{0ms, IMPERIAL}, {0ms, VALUES}, {1s, METRIC}}, 2s, false},
      {"a value after it", {{0ms, IMPERIAL}, {0ms, VALUES}, {1s, METRIC}, {1s, VALUES}}, 2s, true},
      {"the same units", {{0ms, METRIC}, {0ms, VALUES}, {1s, METRIC}}, 2s, true},
      {"the first units may be others", {{0ms, VALUES}, {1s, IMPERIAL}}, 2s, false},
      {"units that are refused", {{0ms, VALUES}, {1s, NO_UNITS}}, 2s, true},
      {"a first frame of none", {{0ms, frame_of_t{0, 0, 2}}, {0ms, VALUES}}, 1s, true},
      {"a request between its frames", {{0ms, values_t{6, 3}}}, 1s, true},
      {"a first frame between its frames", {{0ms, values_t{6, 3, TEXT}}}, 1s, false},
      {"begun by another frame", {{0ms, frame_of_t{1, 6, 2}}, {0ms, VALUES}}, 1s, true},
  };
  for (const case_t& row : cases) {
    SCOPED_TRACE(row.name);
    HostWatch watch;
    const HostWatch::TimePoint start{100s};
    for (const auto& [at, sent] : row.sent) {
      std::visit([&, at = at](const auto& each) { Send(watch, each, start + at); }, sent);
    }
    EXPECT_EQ(watch.MakeReport(start + row.asked).areValuesFresh, row.fresh);
  }
}

TEST(HostWatchTest, AMessageThatABreakCutIsNotJoined) {
  HostWatch watch;
  for (std::uint8_t number = 0; number < 3; ++number) Send(watch, frame_of_t{number, 6, 2}, {});
  watch.ForgetMessage();
  for (std::uint8_t number = 3; number < 6; ++number) Send(watch, frame_of_t{number, 6, 2}, {});
  EXPECT_FALSE(watch.MakeReport(HostWatch::TimePoint{1s}).areValuesFresh);
}

TEST(HostWatchTest, ReportsAtOnceWhatBecomesUnknownAndAgainInTime) {
  HostWatch watch;
  const HostWatch::TimePoint start{100s};
  EXPECT_TRUE(watch.TakeIfDue(start)) << "the first";
  EXPECT_FALSE(Send(watch, VALUES, start));
  EXPECT_FALSE(watch.TakeIfDue(start + 199ms));
  const auto fresh = watch.TakeIfDue(start + 200ms);
  ASSERT_TRUE(fresh);
  EXPECT_EQ(ReadHostReport(WriteHostReport(*fresh)),
            (host_report_t{.areValuesFresh = true, .valuesAt = start}));
  EXPECT_TRUE(Send(watch, METRIC, start + 300ms));
  EXPECT_TRUE(watch.TakeIfDue(start + 301ms));
  EXPECT_FALSE(watch.TakeIfDue(start + 302ms));
  EXPECT_TRUE(watch.TakeIfDue(start + 801ms)) << "the sign that the bus is received";
}

}  // namespace
}  // namespace unit
