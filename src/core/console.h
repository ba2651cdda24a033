// Printing whole lines: progress goes to standard output, errors to standard error.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

// Writes the line and its end in one call and flushes the stream: lines of several threads do not mix, and the
// last line before a crash is not lost. Any thread, but not from a signal handler. When the stream cannot be
// written to, the line is lost without a report.
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

// A number in lower-case hexadecimal without a prefix, filled with leading zeros to `width` digits.
inline std::string HexText(std::uint32_t value, std::size_t width = 0) {
  std::array<char, 8> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16);
  const auto count = static_cast<std::size_t>(result.ptr - digits.data());
  std::string text(count < width ? width - count : 0, '0');
  return text.append(digits.data(), count);
}
