// CMD2: the operating values and the lamp word. Parse thread.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// CMD2: the operating values and the lamp word. The payload, multi-byte numbers big-endian:
//
// | bytes          | value                                                                     |
// |----------------|---------------------------------------------------------------------------|
// | 0              | not interpreted                                                           |
// | 1 - 24         | floats: capacity, load, radius, angle, extension, fraction of working load |
// | 25             | parts of line                                                             |
// | 26, 27, 28, 31 | lamp word, bits 0 to 7, 8 to 15, 16 to 23, 24 to 31                       |
// | 29, 30         | swing in degrees, signed 16 bits, between the lamp word's bytes           |
// | 32 - 39        | floats: piston pressure, rod pressure                                     |
void ProcessCmd2(orvikData_t* data, const MessageView& payload);
