// The board: keys, beeper and backlight of the emulated registers.
#pragma once

#include <memory>

#include "unit/service/service.h"

namespace unit {

std::unique_ptr<Service> MakeBoardService(const options_t& options);

}  // namespace unit
