// The native window: the unit's screen on the machine's own display, its front keys on the keyboard.
//
// The picture is dimmed as the backlight is, and the loudspeaker sounds as the beeper does, where these are not
// real parts (--backlight, --beeper) that do so themselves.
#pragma once

#include <functional>
#include <memory>

#include "unit/service/service.h"

namespace unit {

// `end` is called on the window's thread each time that somebody asks for the end there: closes the window, or
// presses Ctrl-C or Escape in it.
std::unique_ptr<Service> MakeWindowService(const options_t& options, std::function<void()> end);

}  // namespace unit
