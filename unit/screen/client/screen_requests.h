// The requests that the screen service answers, and the messages that it publishes to the unit's other
// services.
//
// A request is one 32-bit little-endian word, sent with MsgSend to SCREEN_REQUEST_NAME. The reply is the
// document; the status of MsgSend is its length, so that the client notices a document that was cut off, or
// negative when the service cannot answer now.
//
// The service publishes one JSON object on SCREEN_CHANGES_CHANNEL_NAME for each change of the picture, and
// twice a second one whose revision is also its previous one: a sign that it lives.
//
//   {"revision":7,"previous":6,"page":false,
//    "elements":[{"id":"...","attributes":{"style":"...","display":null},"content":"<tspan ...>"}],
//    "widgets":{"orvikTextWidgetLoad":" 12,300"},"variables":{"OrvikA2B":1.0}}
//
// An attribute with the value null is to be removed; "content" is present when the element's content has
// changed. With "page" true the reader requests the whole state, because another page is shown or the change is
// too large for a message. The reader does the same when "previous" is not the revision that it has.
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
