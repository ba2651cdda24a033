// The cycle counter and time conversion, under Neutrino's own names.
#pragma once

#include <cstdint>
#include <ctime>

// Cycles since an arbitrary start that all processes share. 66.5 MHz of monotonic time: 66,500 cycles are 1 ms.
std::uint64_t ClockCycles();
constexpr std::uint64_t CYCLES_PER_SECOND = 66'500'000;

// Splits nanoseconds into seconds and nanoseconds.
void nsec2timespec(std::timespec* result, std::uint64_t nanoseconds);
