// Printing whole lines: progress goes to standard output, errors to standard error.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "platform/console_writer.h"

// A whole line; see platform::PrintLine. Any thread, but not from a signal handler.
inline void PrintOut(std::string_view line) {
  platform::PrintLine(stdout, line);
}
inline void PrintErr(std::string_view line) {
  platform::PrintLine(stderr, line);
}

// A number in lower-case hexadecimal without a prefix, filled with leading zeros to `width` digits.
inline std::string HexText(std::uint32_t value, std::size_t width = 0) {
  std::array<char, 8> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16);
  const auto count = static_cast<std::size_t>(result.ptr - digits.data());
  std::string text(count < width ? width - count : 0, '0');
  return text.append(digits.data(), count);
}
