// Blinking indicators: a thread steps database values through a range, one step every `period` + 1 ticks of 100
// ms.
#pragma once

#include <array>
#include <cstdint>

#include "src/core/orvik_data.h"

struct Blinker_t {
  std::uint32_t handle = 0;    // database parameter that receives the value
  std::int32_t countdown = 0;  // ticks until the next step
  std::int32_t active = 0;     // not 0 while blinking
  std::int32_t value = 0;      // current value
  std::int32_t minimum = 0;    // starting value, and the one after wrap-around
  std::int32_t maximum = 0;    // highest value before wrap-around
  std::int32_t period = 0;     // ticks between steps; a step comes every period + 1 ticks
};

constexpr int BLINKER_COUNT = 30;

// Guarded by a mutex of blinkers.cpp, which the functions below lock; no other code may use the table while the
// thread runs. The mutex is not in the record, because StopBlinker has no pointer to the record.
extern std::array<Blinker_t, BLINKER_COUNT> blinkers;

// Starts the thread "Blinker". Returns 0, or the error number of the failed start.
int InitBlinkerThread(orvikData_t* data);

// Stops all blinkers without writing to the database.
void InitBlinkers(orvikData_t* data);
// Starts blinker number `index` at `minimum` and writes that value. An index outside the table is reported on
// standard error and changes nothing.
void StartBlinker(orvikData_t* data, int index, int minimum, int maximum, int period, unsigned handle);
// Stops blinker 0 and writes `value` to its variable. It ignores `blinker`: the interface of the unit defines
// it so, and callers that pass another blinker expect that one to go on blinking.
void StopBlinker(Blinker_t* blinker, int value);
// Sets the period; the present countdown is not changed.
void SetBlinkerPeriod(orvikData_t* data, Blinker_t* blinker, int period);
// One tick of all active blinkers, in order. Blinker thread.
void UpdateBlinkers(orvikData_t* data);
