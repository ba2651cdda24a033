// The countdown words and the arithmetic of times.
#include "devio/timer.h"

#include "tests/unit/devio/record_fixture.h"

namespace {

TEST(Timer, ATickLowersWhatIsAboveZero) {
  orvikData_t record;
  record.countdown[0] = 2;
  record.countdown[1] = -7;
  record.countdown[8] = 1;
  for (int tick = 0; tick < 3; ++tick) LowerCountdowns(&record);
  EXPECT_EQ(record.countdown[0], 0);
  EXPECT_EQ(record.countdown[1], -7);
  EXPECT_EQ(record.countdown[8], 0);
}

TEST(Timer, DifferencesAreNormalised) {
  struct case_t {
    std::timespec start, end;
    std::int64_t nanoseconds;
    std::timespec difference;
  };
  for (auto [start, end, nanoseconds, difference] : {
           case_t{{1, 0}, {3, 5}, 2'000'000'005, {2, 5}},
           {{1, 999'999'999}, {2, 0}, 1, {0, 1}},
           {{2, 0}, {1, 500'000'000}, -500'000'000, {-1, 500'000'000}},
           {{5, 7}, {5, 7}, 0, {0, 0}},
       }) {
    std::timespec result{};
    EXPECT_EQ(ElaspedNanoSeconds(&start, &end, &result), nanoseconds);
    EXPECT_EQ(result.tv_sec, difference.tv_sec);
    EXPECT_EQ(result.tv_nsec, difference.tv_nsec);
  }
}

TEST(Timer, ATickIsDueAfterTenMillisecondsOrWhenTheClockWasSet) {
  EXPECT_FALSE(IsTickDue(0));
  EXPECT_FALSE(IsTickDue(9'999'999));
  EXPECT_TRUE(IsTickDue(10'000'000));
  EXPECT_TRUE(IsTickDue(std::int64_t{1} << 32));
  EXPECT_TRUE(IsTickDue(-1));
}

TEST(Timer, TheClockSetBackEndsTheWaitAtOnce) {
  std::timespec future{};
  clock_gettime(CLOCK_REALTIME, &future);
  future.tv_sec += 3600;
  EXPECT_LT(WaitForTick(future).tv_sec, future.tv_sec);
}

}  // namespace
