#include "bus/text_fields.h"

#include <array>

namespace bus {
namespace {

constexpr std::string_view BLANKS = " \t\r\n";
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";
constexpr std::uint32_t MOST_EXTENDED = 0x1FFFFFFF;
constexpr std::uint32_t MOST_STANDARD = 0x7FF;
constexpr std::size_t EXTENDED_DIGITS = 8;
constexpr std::size_t STANDARD_DIGITS = 3;
constexpr std::uint64_t MICROS_PER_SECOND = 1'000'000;
constexpr std::size_t STAMP_DIGITS = 6;

std::string HexDigits(std::uint32_t value, std::size_t digits) {
  std::string text(digits, '0');
  for (std::size_t i = digits; i-- > 0; value >>= 4U) text[i] = HEX_DIGITS[value & 0xFU];
  return text;
}

}  // namespace

std::string_view FieldReader::Next() {
  const std::size_t begin = std::min(rest_.find_first_not_of(BLANKS), rest_.size());
  rest_.remove_prefix(begin);
  const std::size_t length = std::min(rest_.find_first_of(BLANKS), rest_.size());
  const std::string_view word = rest_.substr(0, length);
  rest_.remove_prefix(length);
  return word;
}

bool SetIdentifier(std::string_view digits, bool extended, frame_t& frame) {
  const auto value = ParseNumber<std::uint32_t>(digits, 16);
  if (!value || *value > (extended ? MOST_EXTENDED : MOST_STANDARD)) return false;
  frame.identifier = *value;
  frame.extended = extended;
  return true;
}

bool ParseIdentifier(std::string_view text, std::size_t leastDigits, frame_t& frame) {
  const bool extended = text.size() == EXTENDED_DIGITS;
  if (!extended && (text.size() < leastDigits || text.size() > STANDARD_DIGITS)) return false;
  return SetIdentifier(text, extended, frame);
}

std::string FormatIdentifier(const frame_t& frame) {
  return HexDigits(frame.identifier, frame.extended ? EXTENDED_DIGITS : STANDARD_DIGITS);
}

bool ParseHexBytes(std::string_view text, frame_t& frame) {
  if (text.size() % 2 != 0 || text.size() / 2 > frame.data.size() - frame.length) return false;
  for (; !text.empty(); text.remove_prefix(2)) {
    const auto byte = ParseNumber<std::uint8_t>(text.substr(0, 2), 16);
    if (!byte) return false;
    frame.data[frame.length++] = *byte;
  }
  return true;
}

void AppendHexBytes(std::string& text, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) {
    text.push_back(HEX_DIGITS[byte >> 4U]);
    text.push_back(HEX_DIGITS[byte & 0xFU]);
  }
}

std::string FormatStamp(std::uint64_t time_us) {
  const std::string micros = std::to_string(time_us % MICROS_PER_SECOND);
  return std::to_string(time_us / MICROS_PER_SECOND) + "." + std::string(STAMP_DIGITS - micros.size(), '0') +
         micros;
}

std::optional<std::uint64_t> ParseStamp(std::string_view text) {
  constexpr std::size_t MOST_SECONDS_DIGITS = 12;
  constexpr std::size_t MOST_FRACTION_DIGITS = 9;  // candump writes six, with some options nine
  const std::size_t point = text.find('.');
  if (point == std::string_view::npos || point > MOST_SECONDS_DIGITS) return std::nullopt;
  const std::string_view fraction = text.substr(point + 1);
  if (fraction.size() > MOST_FRACTION_DIGITS) return std::nullopt;
  const auto seconds = ParseNumber<std::uint64_t>(text.substr(0, point), 10);
  auto part = ParseNumber<std::uint64_t>(fraction, 10);
  if (!seconds || !part) return std::nullopt;
  for (std::size_t digits = fraction.size(); digits < STAMP_DIGITS; ++digits) *part *= 10;
  for (std::size_t digits = fraction.size(); digits > STAMP_DIGITS; --digits) *part /= 10;
  return *seconds * MICROS_PER_SECOND + *part;
}

std::string FormatLogStamp(std::uint64_t time_us) {
  return "(" + FormatStamp(time_us) + ")";
}

std::optional<std::uint64_t> ParseLogStamp(std::string_view text) {
  if (!text.starts_with('(') || !text.ends_with(')')) return std::nullopt;
  return ParseStamp(text.substr(1, text.size() - 2));
}

}  // namespace bus
