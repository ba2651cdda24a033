// Access to device registers, as Neutrino provides it.
#pragma once

#include <chrono>
#include <cstdint>

#include <hw/inout.h>
#include <sys/mman.h>
#include <sys/neutrino.h>

namespace platform {

// How long a line of the keypad port takes to follow a write.
constexpr std::chrono::microseconds PORT_SETTLE_TIME{50};

}  // namespace platform
