// Decoded messages as JSON for a program.
#pragma once

#include <string>

#include "host/protocol/traffic_decoder.h"

namespace host {

// {"time":1436509052.249713,"from":"host","command":"CMD7.11","name":"units","values":{"units":"metric"}} on
// one line. A field that comes more than once in a message has an array; lamps and keys always have one.
std::string FormatJsonLine(const bus_message_t& message);

}  // namespace host
