// Indicators that blink: database values stepped through a range every so many ticks of 100 ms.
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

// The table has one lock of its own, which the functions below take; nothing else may touch it while the
// thread runs. StopBlinker knows no record, so the lock cannot be one of the record's.
extern std::array<Blinker_t, BLINKER_COUNT> blinkers;

// Starts the thread "Blinker". Returns 0 or an error number.
int InitBlinkerThread(orvikData_t* data);

// Stops all blinkers without writing to the database.
void InitBlinkers(orvikData_t* data);
// Starts blinker number `index` at `minimum`, which is written at once. An index outside the table is reported
// on standard error and changes nothing.
void StartBlinker(orvikData_t* data, int index, int minimum, int maximum, int period, unsigned handle);
// Stops blinker 0 and writes `value`, whichever blinker it is given; callers rely on that.
void StopBlinker(Blinker_t* blinker, int value);
// The countdown that is under way is left alone.
void SetBlinkerPeriod(orvikData_t* data, Blinker_t* blinker, int period);
// One tick of all blinkers, in order.
void UpdateBlinkers(orvikData_t* data);
