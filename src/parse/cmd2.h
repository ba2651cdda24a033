// Command 2: the operating values and the lamp word.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// Stores the values of one CMD2 through their setters. Parse thread. The payload; numbers of more than one byte
// are big-endian, floats IEEE-754 single precision:
//
// | bytes          | value                                                                     |
// |----------------|---------------------------------------------------------------------------|
// | 0              | not interpreted                                                           |
// | 1 - 24         | floats: capacity, load, radius, angle, extension, fraction of safe load   |
// | 25             | parts of line                                                             |
// | 26, 27, 28, 31 | lamp word, bits 0 to 7, 8 to 15, 16 to 23, 24 to 31                       |
// | 29, 30         | swing in degrees, signed 16 bits                                          |
// | 32 - 39        | floats: piston pressure, rod pressure                                     |
void ProcessCmd2(orvikData_t* data, const MessageView& payload);
