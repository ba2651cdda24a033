// The parts that candump's log, the socketcand protocol and the unit's report of the bus share: words between
// blanks, identifiers, data bytes and time stamps. Only the functions that return or extend a string allocate
// memory.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace bus {

// Splits a text at blanks, tabs and line ends. Next returns an empty word at the end.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : rest_(text) {}
  std::string_view Next();

 private:
  std::string_view rest_;
};

// Reads the whole text as a number; empty when it has any other character, such as a sign.
template <typename T>
std::optional<T> ParseNumber(std::string_view text, int base) {
  T value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, base);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

// Reads the hexadecimal digits of a 29-bit or an 11-bit identifier. False when they are not a number or too
// large.
bool SetIdentifier(std::string_view digits, bool extended, frame_t& frame);
// Reads eight hexadecimal digits as a 29-bit identifier, `leastDigits` to three digits as an 11-bit one. False
// for any other text, also for the identifier of an error frame, which has more than 29 bits.
bool ParseIdentifier(std::string_view text, std::size_t leastDigits, frame_t& frame);
// "18FF00D0" or "123".
std::string FormatIdentifier(const frame_t& frame);

// Appends bytes such as "0001060000000000", two digits each, to the frame's data. False when the text has
// another form or the frame has no room.
bool ParseHexBytes(std::string_view text, frame_t& frame);
void AppendHexBytes(std::string& text, std::span<const std::uint8_t> bytes);

// Seconds with six decimals: "1436509052.249713".
std::string FormatStamp(std::uint64_t time_us);
std::optional<std::uint64_t> ParseStamp(std::string_view text);
// The same in brackets, as candump -L writes it.
std::string FormatLogStamp(std::uint64_t time_us);
std::optional<std::uint64_t> ParseLogStamp(std::string_view text);

}  // namespace bus
