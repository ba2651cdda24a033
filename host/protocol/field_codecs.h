// How each type of field stands in a message: one table row for each type.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "host/protocol/protocol.h"

namespace host {

struct field_codec_t {
  std::string_view name;  // of the type, in the Wireshark dissector's tables
  double least;           // the values that a person may give
  double most;
  bool whole;  // no fractions
  // Writes and reads the value at a byte of the message. A value that the field cannot hold becomes the nearest
  // that it can. Of a key mask or a text these are the first byte alone.
  void (*write)(std::span<std::uint8_t> message, std::size_t at, double value);
  double (*read)(std::span<const std::uint8_t> message, std::size_t at);
};

const field_codec_t& CodecOf(field_type_t type);

// Writes or reads one number of a message as its field lays it out, scale included. The field must lie inside
// the message.
void WriteNumber(const field_t& field, double value, std::span<std::uint8_t> message);
double ReadNumber(const field_t& field, std::span<const std::uint8_t> message);

}  // namespace host
