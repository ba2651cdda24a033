// The screen's state and changes as JSON.
#pragma once

#include <string>

#include "unit/screen/design/screen_model.h"

namespace unit {

std::string FormatState(const ScreenModel& model);
// At most `limit` bytes: a longer change becomes one with "page" true, after which readers request the whole
// state.
std::string FormatChange(const screen_change_t& change, std::size_t limit);

}  // namespace unit
