// Makes the host's messages from the protocol table and cuts them into frames.
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

// Makes a command's message with one value for each of its fields; a request has no fields. A value that its
// field cannot hold becomes the nearest that it can.
MessageBytes MakeMessage(const command_t& command, std::span<const double> values = {});
// The same by the command's name; the table must have it.
MessageBytes MakeMessage(std::string_view command, double value);
MessageBytes MakeMessage(std::string_view command);

// CMD7 sub-command 1: one mask for each host key, beginning with key 0, at most 24.
MessageBytes MakeKeyMasksMessage(std::span<const std::uint8_t> masks);

// A text for one field of CMD5. The display joins several texts for one field with a blank.
struct field_text_t {
  std::uint8_t field = 0;
  std::string text;  // UTF-8, at least 1 byte
};
// CMD5 with one sub-command for each text. Throws UsageError if a text is empty or if the message exceeds the
// 251 bytes that the display accepts.
MessageBytes MakeTextsMessage(std::span<const field_text_t> texts);
// CMD3. Throws UsageError as MakeTextsMessage does.
MessageBytes MakeFlashMessage(std::string_view text);

// How many frames carry a message of so many bytes; at least 1.
std::size_t CountFrames(std::size_t bytes);

// Cuts a message into frames with the host's identifier and pads the last one with 0xFF. Throws UsageError for
// an empty message and for one that needs more than 255 frames.
std::vector<bus::frame_t> CutIntoFrames(std::span<const std::uint8_t> message);

}  // namespace host
