// What the operator sees, as lines for a terminal.
#pragma once

#include <string>

namespace unit {

// One line for each thing that is shown: its name and its value. `shown` is the answer of GET /api/shown.
std::string FormatShown(const std::string& shown);

}  // namespace unit
