// The command records that a layer sends to the compositor.
//
// A message to the name "compositor" is a sequence of records. The reply is one signed 32-bit word; 0 is
// success. A record consists of 32-bit little-endian words:
//
// | bytes | field                                                         |
// |-------|---------------------------------------------------------------|
// | 0     | marker 0x55AA55AA                                             |
// | 4     | 0                                                             |
// | 8     | command (cmd_t)                                               |
// | 12    | first argument; for CMD_OPERATION an operation_t              |
// | 16    | layer id                                                      |
// | 20    | second argument                                               |
// | 24    | length of the data, rounded up to a multiple of 4             |
// | 28    | data: parameters, then strings with their 0 byte; not padded  |
//
// The next record starts at the next multiple of 4. Creating and removing a layer takes a message of one
// record.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Compositing {

constexpr const char* SERVER_NAME = "compositor";
constexpr std::size_t QUEUE_SIZE = 1'048'576;
constexpr std::uint32_t RECORD_MARKER = 0x55AA55AA;
constexpr std::size_t RECORD_HEADER_SIZE = 28;

constexpr std::size_t MARKER_AT = 0;
constexpr std::size_t COMMAND_AT = 8;
constexpr std::size_t FIRST_ARGUMENT_AT = 12;
constexpr std::size_t LAYER_AT = 16;
constexpr std::size_t SECOND_ARGUMENT_AT = 20;
constexpr std::size_t DATA_LENGTH_AT = 24;

enum cmd_t : std::uint32_t {
  CMD_CREATE_LAYER = 1,  // first argument: LayerType_t
  CMD_DESTROY_LAYER = 2,
  CMD_OPERATION = 4,  // first argument: operation_t
  CMD_SHAPE = 5,      // first argument: shape_t; data: its floats
  CMD_IMAGE = 6,  // first argument: image_t; second: object id; data: width and height (0: own), the file name
  CMD_CAPTURE = 7,  // data: the file name
  CMD_VIDEO = 8,    // data: VideoInfo_t as five words: x, y, width, height, source
  CMD_END_FRAME = 9,
};

enum operation_t : std::uint32_t {
  OP_PUSH_AND_TRANSLATE = 1,  // x, y, z
  OP_PUSH = 2,
  OP_POP = 3,
  OP_ROTATE = 5,  // degrees, axis x, y, z
  OP_SCALE = 6,   // x, y, z
  OP_COLOR = 7,   // r, g, b, a, 0 to 1
  OP_CLEAR_TEXTURE = 9,
  OP_ENABLE = 10,          // int
  OP_DISABLE = 11,         // int
  OP_START_FRAME = 12,     // two words, 0 and 1
  OP_PRELOAD_IMAGES = 13,  // names
  OP_DRAW_TEXT = 14,
};

// Lengths are pixels, angles degrees counter-clockwise from three o'clock, the y axis points down.
enum shape_t : std::uint32_t {
  SHAPE_ARC_OUTLINE = 1,  // radius, start angle, sweep
  SHAPE_ARC_FILL = 2,
  SHAPE_ARC_GRADIENT = 3,    // the same, then inner and outer r, g, b, a
  SHAPE_CIRCLE_OUTLINE = 4,  // radius
  SHAPE_CIRCLE_FILL = 5,
  SHAPE_CIRCLE_GRADIENT = 6,  // radius, then inner and outer r, g, b, a
  SHAPE_LINE = 7,             // x1, y1, x2, y2, width, pattern (as float: 0 solid, 1 dashed, 2 dotted)
};

enum image_t : std::uint32_t { IMAGE_TOP_LEFT = 1, IMAGE_CENTERED = 2 };

enum LayerType_t : std::uint32_t { LAYER_USER = 0, LAYER_VIDEO = 1 };
enum DrawType_t : std::uint32_t { DRAW_FRAME = 0, DRAW_APPEND = 1 };

}  // namespace Compositing
