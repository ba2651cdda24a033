// The timer thread, which lowers the record's countdown words every 10 ms, and differences of times.
#pragma once

#include <cstdint>
#include <ctime>

#include "platform/threads.h"

#include "src/core/orvik_data.h"

// Starts the thread "Timer". Returns 0, or the error number of the failed start.
int Init_Timer(orvikData_t* data);

// Returns end - start in nanoseconds and stores the same difference in `result`, with tv_nsec from 0 to
// 999,999,999.
std::int64_t ElaspedNanoSeconds(std::timespec* start, std::timespec* end, std::timespec* result);
// Stores end - start in `result` as ElaspedNanoSeconds does.
void timeDiff(std::timespec* start, std::timespec* end, std::timespec* result);

// Lowers each countdown word above 0 by one; a negative word is not changed. Timer thread.
void LowerCountdowns(orvikData_t* data);
constexpr long TICK_NANOSECONDS = 10'000'000;
// Whether the next tick is due `elapsed` nanoseconds after the last one: after 10 ms, and at once when the
// clock was set.
constexpr bool IsTickDue(std::int64_t elapsed) {
  return elapsed < 0 || elapsed >= TICK_NANOSECONDS;
}
// Waits until the tick after `last` is due and returns the time of that tick. Timer thread.
std::timespec WaitForTick(platform::ClockAlarm& alarm, std::timespec last);
