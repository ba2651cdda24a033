// Makes the host's messages from the protocol's table, and cuts them into frames.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bus/can_frame.h"
#include "host/protocol/protocol.h"

namespace host {

using MessageBytes = std::vector<std::uint8_t>;

// One number into a message, or out of one, as the field lays it out (lamps, bytes, integers, floats). The
// field must lie inside the message. A number that does not fit is cut to the nearest that does.
void WriteNumber(const field_t& field, double value, std::span<std::uint8_t> message);
double ReadNumber(const field_t& field, std::span<const std::uint8_t> message);

// A message of a command with one value for each of its fields (none for a request).
MessageBytes MakeMessage(const command_t& command, std::span<const double> values = {});
// The same by name; the table must have it.
MessageBytes MakeMessage(std::string_view command, double value);
MessageBytes MakeMessage(std::string_view command);

// CMD7 sub-command 1: one mask a host key, beginning with key 0, at most 24.
MessageBytes MakeKeyMasksMessage(std::span<const std::uint8_t> masks);

// A text for one field. Texts for the same field are joined by the display with a blank.
struct field_text_t {
  std::uint8_t field = 0;
  std::string text;  // UTF-8, 1 byte at least
};
// CMD5 with one sub-command a text. Throws UsageError when a text is empty or all do not fit into the 251
// bytes that the display takes.
MessageBytes MakeTextsMessage(std::span<const field_text_t> texts);
// CMD3, under the same terms.
MessageBytes MakeFlashMessage(std::string_view text);

// The frames of a message on the host's identifier, the last one padded with 0xFF. Throws UsageError for an
// empty message and for one that 255 frames cannot carry.
std::vector<bus::frame_t> CutIntoFrames(std::span<const std::uint8_t> message);

}  // namespace host
