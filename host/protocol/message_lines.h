// Decoded messages as lines: for a person, and as JSON for a program.
#pragma once

#include <string>
#include <string_view>

#include "host/protocol/traffic_decoder.h"

namespace host {

// "host", "display", "other".
std::string_view SenderName(sender_t sender);

// "operating-values: load 12300 lbs, radius 35.4 feet, led prealarm,a2b".
std::string FormatMessage(const decoded_t& decoded);

// "14:05:12.345" in the machine's own zone.
std::string FormatTimeOfDay(std::uint64_t time_us);

// "14:05:12.345  host     CMD7.11  units: metric".
std::string FormatWatchLine(const bus_message_t& heard);

// {"time":1436509052.249713,"from":"host","command":"CMD7.11","name":"units","values":{"units":"metric"}}; a
// field that comes more than once has an array, lamps and keys have one always.
std::string FormatJsonLine(const bus_message_t& heard);

}  // namespace host
