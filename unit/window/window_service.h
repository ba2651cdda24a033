// The native window: shows the unit's screen on the machine's display and takes the front keys from the
// keyboard.
//
// The picture follows the backlight and the loudspeaker the beeper, where the unit has no real backlight or
// beeper
// (--backlight, --beeper).
#pragma once

#include <functional>
#include <memory>

#include "unit/service/service.h"

namespace unit {

// The window's thread calls `end` each time that the user closes the window, or presses Ctrl-C or Escape in it.
std::unique_ptr<Service> MakeWindowService(const options_t& options, std::function<void()> end);

}  // namespace unit
