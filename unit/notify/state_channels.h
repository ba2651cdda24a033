// The channels whose messages set a state: the newest message for each part of it is kept.
//
// The application sends a widget its text once, when the text changes. A screen service that lost the message,
// or was started later, would show an old text or none for as long as the text stays as it is.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "unit/notify/exchange.h"

namespace unit {

// The widget and what the message sets of it (layout: src/screenapi/screen_messages.h). Empty for "process
// commands", which sets nothing, and for a message without an operation.
std::string ScreenMessageKey(std::span<const std::uint8_t> payload);

void KeepStates(Exchange& exchange);

}  // namespace unit
