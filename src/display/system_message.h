// Messages of the system itself, laid over the host's text: the start-up text and the lost link.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

extern const std::array<std::string_view, LANGUAGE_COUNT> LOST_LINK_TEXTS;
constexpr const char* START_UP_TEXT = " Display View: System Initializing...";

// Shows a system message in place of the host's text. Dispatcher, and main at start.
void DisplayWatchdogMessage(orvikData_t* data, const std::string& text);
// Follows the host's presence: the lost-link message in the selected language while it is silent, the host's
// own text again once it is heard. Dispatcher, every cycle.
void UpdateSystemMessage(orvikData_t* data);
