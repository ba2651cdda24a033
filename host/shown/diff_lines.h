// Writes a difference between two logs as lines for a person and as JSON for a program.
#pragma once

#include <string>

#include "host/shown/shown_diff.h"

namespace host {

// A heading with the time in each log, then a line for each thing that the display shows differently.
//
//   A 22:13:20.250  B 22:13:20.260
//     load: 12,300 | 12,400
//     text line1-center: HELLO | nothing, since 22:13:21.000
std::string FormatDifference(const difference_t& difference);

// {"a":{"time":1700000000.25,"states":1},"b":{"time":1700000000.26,"states":1},
//  "shown":{"load":{"a":"12,300","a_time":1700000000.25,"b":"12,400","b_time":1700000000.26}}}
// on one line; null means that the display shows no such text.
std::string FormatDifferenceJson(const difference_t& difference);

}  // namespace host
