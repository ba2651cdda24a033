// A CAN frame as a line of a log: in candump's form, and in the forms of other programs.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace bus {

// The form of candump -L, which the unit writes: "(1436509052.249713) vcan0 18FF00D0#0001060000000000". Eight
// hexadecimal digits are a 29-bit identifier, three an 11-bit one. Empty when the line is not a data frame.
struct log_line_t {
  frame_t frame;
  std::string_view interface;  // points into the line
};
std::optional<log_line_t> ParseLogLine(std::string_view line);
std::string FormatLogLine(const frame_t& frame, std::string_view interface);

// Reads a line in any of these forms; empty when it is not a data frame. Identifiers and data are hexadecimal.
//
// | Written by                              | Line                                                            |
// |-----------------------------------------|-----------------------------------------------------------------|
// | candump -L and -l                       | as ParseLogLine                                                 |
// | candump -ta and -tz, with -x as well    | (1436509052.249713)  vcan0  18FF00D0   [8]  00 01 06 00 ...     |
// | candump -tA: local time                 | (2015-07-10 08:17:32.249713)  vcan0  18FF00D0   [8]  00 01 ...  |
// | python-can's and log2asc's ASC          | 0.249713 1  18FF00D0x  Rx   d 8 00 01 06 00 ...                 |
// | python-can's CSV, data in base64        | 1436509052.249713,0x18ff00d0,1,0,0,8,AAEGAAAAAAA=               |
std::optional<frame_t> ParseAnyLogLine(std::string_view line);

}  // namespace bus
