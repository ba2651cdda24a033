// The pieces that candump's log and the socketcand protocol share: words between blanks, identifiers, data
// bytes and time stamps. Inside this folder only; nothing here allocates but what returns a string.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace bus {

// Takes a text apart at blanks, tabs and line ends; an empty word means that there are no more.
class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : rest_(text) {}
  std::string_view Next();

 private:
  std::string_view rest_;
};

// The whole text as a number; empty when anything else stands in it, a sign included.
template <typename T>
std::optional<T> ParseNumber(std::string_view text, int base) {
  T value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, base);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return value;
}

// Hexadecimal digits of a 29-bit or an 11-bit identifier. False when they are no number or too large a one.
bool SetIdentifier(std::string_view digits, bool extended, frame_t& frame);
// Eight hexadecimal digits are a 29-bit identifier; fewer, from `leastDigits` to three, an 11-bit one. False
// when the text is neither (an error frame's identifier has more than 29 bits).
bool ParseIdentifier(std::string_view text, std::size_t leastDigits, frame_t& frame);
// "18FF00D0" or "123".
std::string FormatIdentifier(const frame_t& frame);

// "0001060000000000": up to eight bytes, two digits each, after what the frame holds already. False when the
// text is anything else or there is no room.
bool ParseHexBytes(std::string_view text, frame_t& frame);
void AppendHexBytes(std::string& text, std::span<const std::uint8_t> bytes);

// Seconds and six digits of microseconds: "1436509052.249713".
std::string FormatStamp(std::uint64_t time_us);
std::optional<std::uint64_t> ParseStamp(std::string_view text);
// The same between brackets, as candump -L writes it.
std::string FormatLogStamp(std::uint64_t time_us);
std::optional<std::uint64_t> ParseLogStamp(std::string_view text);

}  // namespace bus
