// The system's own messages, shown in place of the host's text: the start-up text and the lost link.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

// The message of a lost link; the index is the language.
extern const std::array<std::string_view, LANGUAGE_COUNT> LOST_LINK_TEXTS;
constexpr const char* START_UP_TEXT = " Display View: System Initializing...";

// Shows a system message in place of the host's text. Dispatcher, and any thread that initialises the record.
void DisplayWatchdogMessage(orvikData_t* data, const std::string& text);
// Shows the lost-link message in the selected language while the host is silent, and the host's own text again
// when the host is heard. Dispatcher, every cycle.
void UpdateSystemMessage(orvikData_t* data);
