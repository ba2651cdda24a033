// Messages to the screen service, published on the notification manager's channel "screenapi".
//
// A message is a sequence of 32-bit little-endian words; floats are IEEE-754 single precision. The words are
// the target widget's handle (signed; 0 in messages that address the service), the operation and its arguments
// in the order below. A text is the last argument: its bytes and one 0 byte.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr const char* SCREEN_CHANNEL_NAME = "screenapi";
constexpr std::size_t SCREEN_MESSAGE_SIZE = 1024;

enum screen_operation_t : std::uint32_t {
  SCREEN_SET_TEXT = 0,          // attribute, text
  SCREEN_MOVE = 1,              // x, y (signed)
  SCREEN_ROTATE = 2,            // a, b, c (floats): degrees, centre x, centre y
  SCREEN_FRAMERATE = 3,         // frames a second; target 0
  SCREEN_PROCESS_COMMANDS = 4,  // apply the messages received so far; target 0
  SCREEN_SHOW = 5,
  SCREEN_HIDE = 6,
  SCREEN_SET_COLOR = 7,      // which (0 text, 1 background), r, g, b, a (floats, 0 to 1)
  SCREEN_SET_ALTERNATE = 8,  // alternate; target 0
};

constexpr std::size_t SCREEN_TARGET_AT = 0;
constexpr std::size_t SCREEN_OPERATION_AT = 4;
constexpr std::size_t SCREEN_ARGUMENTS_AT = 8;

// The attribute word of the text operations: the alignment of the text in its place.
enum screen_text_attribute_t : std::uint32_t {
  SCREEN_TEXT_LEFT = 0,
  SCREEN_TEXT_CENTER = 1,
  SCREEN_TEXT_RIGHT = 2
};
