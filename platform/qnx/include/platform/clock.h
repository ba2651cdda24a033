// The cycle counter and time conversion of Neutrino.
#pragma once

#include <cstdint>
#include <ctime>

#include <sys/neutrino.h>
#include <sys/syspage.h>
#include <time.h>

// ClockCycles on the unit's processor. Expiry times in the parameter database need this rate: 66,500 cycles are
// 1 ms.
constexpr std::uint64_t CYCLES_PER_SECOND = 66'500'000;
