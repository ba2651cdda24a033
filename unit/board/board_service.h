// The board service: owns the emulated registers of keys, beeper and backlight, publishes their changes, and
// connects real devices to them.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeBoardService(const options_t& options);

}  // namespace unit
