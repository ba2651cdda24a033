// What the screen service answers and publishes to the unit's other services.
//
// A request is one 32-bit little-endian word, sent with MsgSend to SCREEN_REQUEST_NAME; the reply is the
// document, and the status of MsgSend its length, so that a cut one is noticed. A negative status: it cannot be
// had now.
//
// On SCREEN_CHANGES_CHANNEL_NAME stands one JSON object for each change of the picture:
//
//   {"revision":7,"previous":6,"page":false,
//    "elements":[{"id":"...","attributes":{"style":"...","display":null},"content":"<tspan ...>"}],
//    "widgets":{"orvikTextWidgetLoad":" 12,300"},"variables":{"OrvikA2B":1.0}}
//
// An attribute of null is to be removed; "content" is there when the element's inside changed. With "page" true
// nothing else counts: the whole state has to be asked for, because another page is shown or the change is too
// large for a message. The same holds when "previous" is not the revision that one has.
#pragma once

#include <cstdint>
#include <string>

namespace unit {

constexpr const char* SCREEN_REQUEST_NAME = "unit.Screen";
constexpr const char* SCREEN_CHANGES_CHANNEL_NAME = "unit.Screen";

enum screen_request_t : std::uint32_t {
  SCREEN_REQUEST_STATE = 1,  // JSON: revision, page, action, title, svg, widgets, variables
  SCREEN_REQUEST_SVG = 2,
  SCREEN_REQUEST_PNG = 3,
};

constexpr std::size_t SCREEN_REPLY_SIZE = 1U << 20U;

}  // namespace unit
