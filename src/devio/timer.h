// The countdown words of the record, lowered every 10 ms, and differences of times.
#pragma once

#include <cstdint>
#include <ctime>

#include "src/core/orvik_data.h"

// Starts the thread "Timer". Returns 0 or an error number.
int Init_Timer(orvikData_t* data);

// end - start in nanoseconds; `result` gets the same difference, its nanoseconds between 0 and 999,999,999.
std::int64_t ElaspedNanoSeconds(std::timespec* start, std::timespec* end, std::timespec* result);
// The difference alone.
void timeDiff(std::timespec* start, std::timespec* end, std::timespec* result);

// One tick: lowers each word above 0 by one. A negative word is left as it is.
void LowerCountdowns(orvikData_t* data);
// Whether the next tick is due `elapsed` nanoseconds after the last one: after 10 ms, and at once when the
// clock was set back or far forward.
constexpr bool IsTickDue(std::int64_t elapsed) {
  return elapsed < 0 || elapsed >= 10'000'000;
}
// Polls the clock every 100 us until the tick after `last` is due, and returns the time then.
std::timespec WaitForTick(std::timespec last);
