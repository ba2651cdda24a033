// Whole lines for the console: progress on standard output, errors on standard error.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

// Writes the line and its end in one call and flushes, so that lines of several threads never mix and the last
// line before a fault is not lost. Any thread; must not be called from a signal handler. A stream that cannot
// be written to loses the line; nothing else depends on it.
inline void PrintLine(std::FILE* stream, std::string_view line) {
  std::string whole;
  whole.reserve(line.size() + 1);
  whole.append(line).push_back('\n');
  static_cast<void>(std::fwrite(whole.data(), 1, whole.size(), stream));
  static_cast<void>(std::fflush(stream));
}

inline void PrintOut(std::string_view line) {
  PrintLine(stdout, line);
}
inline void PrintErr(std::string_view line) {
  PrintLine(stderr, line);
}

// A number in lower-case hexadecimal, without a prefix, with zeros before it up to `width` digits.
inline std::string HexText(std::uint32_t value, std::size_t width = 0) {
  std::array<char, 8> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16);
  const auto count = static_cast<std::size_t>(result.ptr - digits.data());
  std::string text(count < width ? width - count : 0, '0');
  return text.append(digits.data(), count);
}
