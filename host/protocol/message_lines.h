// Decoded messages as lines for a person.
#pragma once

#include <string>
#include <string_view>

#include "host/protocol/traffic_decoder.h"

namespace host {

// "host", "display", "other".
std::string_view SenderName(sender_t sender);

// "operating-values: load 12300 lbs, radius 35.4 feet, led prealarm,a2b".
std::string FormatMessage(const decoded_t& decoded);

// "14:05:12.345" in the local time zone.
std::string FormatTimeOfDay(std::uint64_t time_us);

// "14:05:12.345  host     CMD7.11  units: metric".
std::string FormatWatchLine(const bus_message_t& message);

}  // namespace host
