#include "src/devio/timer.h"

#include <chrono>
#include <tuple>

#include <gtest/gtest.h>

#include "src/devio/digital_io.h"
#include "tests/support/test_record.h"

namespace {

TEST(BeepLengthTest, DoesNotGrowWithSleepsThatAreRoundedUp) {
  using std::chrono::milliseconds;
  for (const milliseconds tick : {milliseconds(1), milliseconds(3), milliseconds(7)}) {
    std::chrono::steady_clock::time_point now{};
    const auto start = now;
    const beep_clock_t coarse{[&now] { return now; },
                              [&](std::chrono::steady_clock::time_point end) {
                                while (now < end) now += tick;
                              }};
    const orvikData_t data;
    WaitUnlessStopped(&data, 200, coarse);
    EXPECT_GE(now - start, milliseconds(200));
    EXPECT_LT(now - start, milliseconds(200) + tick);
  }
}

TEST(TimerTest, LowersWhatIsAboveZeroAtEachTick) {
  RecordWithoutDatabase record;
  record->countdown[0] = 2;
  record->countdown[1] = -7;
  record->countdown[8] = 1;
  for (int tick = 0; tick < 3; ++tick) LowerCountdowns(record);
  EXPECT_EQ(record->countdown[0], 0);
  EXPECT_EQ(record->countdown[1], -7);
  EXPECT_EQ(record->countdown[8], 0);
}

TEST(TimerTest, TakesTheDifferenceOfTimesWithNanosecondsThatAreNotNegative) {
  for (auto [start, end, nanoseconds] :
       {std::tuple<std::timespec, std::timespec, std::int64_t>{{1, 0}, {3, 5}, 2'000'000'005},
        {{1, 999'999'999}, {2, 0}, 1},
        {{2, 0}, {1, 500'000'000}, -500'000'000}}) {
    std::timespec difference{};
    EXPECT_EQ(ElaspedNanoSeconds(&start, &end, &difference), nanoseconds);
    EXPECT_EQ(difference.tv_sec * std::int64_t{1'000'000'000} + difference.tv_nsec, nanoseconds);
    EXPECT_GE(difference.tv_nsec, 0);
  }
}

TEST(TimerTest, TicksAfterTenMillisecondsOrWhenTheClockWasSet) {
  for (const auto& [elapsed, due] : {std::pair{9'999'999, false}, {10'000'000, true}, {-1, true}}) {
    EXPECT_EQ(IsTickDue(elapsed), due) << elapsed;
  }
  std::timespec future{};
  clock_gettime(CLOCK_REALTIME, &future);
  future.tv_sec += 3600;
  platform::ClockAlarm alarm;
  std::timespec now = WaitForTick(alarm, future);
  EXPECT_LT(now.tv_sec, future.tv_sec);
  std::timespec next = WaitForTick(alarm, now), elapsed{};
  EXPECT_GE(ElaspedNanoSeconds(&now, &next, &elapsed), TICK_NANOSECONDS);
}

}  // namespace
