// A difference between two logs, for a person and for a program.
#pragma once

#include <string>

#include "host/shown/shown_diff.h"

namespace host {

// A head with the time in each log, then a line for each thing that is shown otherwise.
//
//   A 22:13:20.250  B 22:13:20.260
//     load: 12,300 | 12,400
//     text line1-center: HELLO | nothing, since 22:13:21.000
std::string DifferenceLines(const difference_t& difference);

// {"a":{"time":1700000000.25,"states":1},"b":{"time":1700000000.26,"states":1},
//  "shown":{"load":{"a":"12,300","a_time":1700000000.25,"b":"12,400","b_time":1700000000.26}}}
// on one line; a text that is not shown is null.
std::string DifferenceJson(const difference_t& difference);

}  // namespace host
