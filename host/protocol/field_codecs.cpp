#include "host/protocol/field_codecs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "platform/byte_order.h"

namespace host {
namespace {

using Target = std::span<std::uint8_t>;
using Bytes = std::span<const std::uint8_t>;

constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr std::size_t LAMP_BYTES_APART = 5;  // from bits 0 to 7 to bits 24 to 31

template <typename T>
T Fit(double value) {
  constexpr double LEAST = std::numeric_limits<T>::min();
  constexpr double MOST = std::numeric_limits<T>::max();
  return std::isnan(value) ? T{0} : static_cast<T>(std::clamp(std::round(value), LEAST, MOST));
}

void WriteU8(Target message, std::size_t at, double value) {
  message[at] = Fit<std::uint8_t>(value);
}
double ReadU8(Bytes message, std::size_t at) {
  return message[at];
}

void WriteI16(Target message, std::size_t at, double value) {
  platform::StoreBe16(message, at, static_cast<std::uint16_t>(Fit<std::int16_t>(value)));
}
double ReadI16(Bytes message, std::size_t at) {
  return static_cast<std::int16_t>(platform::LoadBe16(message, at));
}

void WriteFloat(Target message, std::size_t at, double value) {
  platform::StoreBeFloat(message, at, static_cast<float>(value));
}
double ReadFloat(Bytes message, std::size_t at) {
  return platform::LoadBeFloat(message, at);
}

void WriteLamps(Target message, std::size_t at, double value) {
  const auto word = Fit<std::uint32_t>(value);
  for (unsigned i = 0; i < 3; ++i) message[at + i] = static_cast<std::uint8_t>(word >> (8U * i));
  message[at + LAMP_BYTES_APART] = static_cast<std::uint8_t>(word >> 24U);
}
double ReadLamps(Bytes message, std::size_t at) {
  std::uint32_t word = static_cast<std::uint32_t>(message[at + LAMP_BYTES_APART]) << 24U;
  for (unsigned i = 0; i < 3; ++i) word |= static_cast<std::uint32_t>(message[at + i]) << (8U * i);
  return word;
}

// In the order of field_type_t.
constexpr std::array<field_codec_t, FIELD_TYPES> CODECS = {{
    {"u8", 0, 255, true, WriteU8, ReadU8},
    {"i16", -32768, 32767, true, WriteI16, ReadI16},
    {"float", -INFINITE, INFINITE, false, WriteFloat, ReadFloat},
    {"lamps", 0, 4294967295.0, true, WriteLamps, ReadLamps},
    {"key_masks", 0, 255, true, WriteU8, ReadU8},
    {"text", 0, 255, true, WriteU8, ReadU8},
}};

}  // namespace

const field_codec_t& CodecOf(field_type_t type) {
  return CODECS[static_cast<std::size_t>(type)];
}

void WriteNumber(const field_t& field, double value, std::span<std::uint8_t> message) {
  CodecOf(field.type).write(message, field.offset, value * field.scale);
}

double ReadNumber(const field_t& field, std::span<const std::uint8_t> message) {
  return CodecOf(field.type).read(message, field.offset) / field.scale;
}

}  // namespace host
