// The cycle counter and time conversion: the system's own.
#pragma once

#include <cstdint>
#include <ctime>

#include <sys/neutrino.h>
#include <sys/syspage.h>
#include <time.h>

// Of the unit's processor. Expiry times in the parameter database count on it: 66,500 cycles are 1 ms.
constexpr std::uint64_t CYCLES_PER_SECOND = 66'500'000;
