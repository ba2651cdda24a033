#include "bus/log_lines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>

#include "bus/text_fields.h"

namespace bus {
namespace {

constexpr std::uint64_t MICROS_PER_SECOND = 1'000'000;

// Seconds with any number of decimals; those below a microsecond are cut off.
bool SetStamp(std::string_view seconds, frame_t& frame) {
  constexpr std::size_t DIGITS = 6;
  const std::size_t point = seconds.find('.');
  if (point == std::string_view::npos) return false;
  const auto stamp = ParseStamp(seconds.substr(0, point + 1 + DIGITS));
  frame.time_us = stamp.value_or(0);
  return stamp.has_value();
}

// "2015-07-10" and "08:17:32.249713", local time.
bool SetLocalTime(std::string_view date, std::string_view time, frame_t& frame) {
  const std::size_t point = std::min(time.find('.'), time.size());
  const std::string text = std::string(date) + " " + std::string(time.substr(0, point));
  std::tm local{};
  const char* const end = ::strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &local);
  if (end == nullptr || *end != '\0' || !SetStamp("0" + std::string(time.substr(point)), frame)) return false;
  local.tm_isdst = -1;
  const std::time_t seconds = ::mktime(&local);
  if (seconds < 0) return false;
  frame.time_us += static_cast<std::uint64_t>(seconds) * MICROS_PER_SECOND;
  return true;
}

bool ReadData(FieldReader& fields, std::uint8_t length, frame_t& frame) {
  if (length > frame.data.size()) return false;
  while (frame.length < length) {
    const std::string_view word = fields.Next();
    if (word.size() != 2 || !ParseHexBytes(word, frame)) return false;
  }
  return true;
}

// The identifier; candump -x writes the direction and two flags before it.
std::string_view SkipDirection(FieldReader& fields) {
  const std::string_view word = fields.Next();
  if (word != "RX" && word != "TX") return word;
  fields.Next();
  fields.Next();
  return fields.Next();
}

// "[8]"
std::optional<std::uint8_t> ParseBracketedLength(std::string_view text) {
  if (text.size() != 3 || !text.starts_with('[') || !text.ends_with(']')) return std::nullopt;
  return ParseNumber<std::uint8_t>(text.substr(1, 1), 10);
}

// "(STAMP)", or "(DATE TIME)" in two words.
bool ReadBracketedStamp(FieldReader& fields, frame_t& frame) {
  std::string_view first = fields.Next();
  first.remove_prefix(1);
  if (first.ends_with(')')) return SetStamp(first.substr(0, first.size() - 1), frame);
  const std::string_view second = fields.Next();
  return second.ends_with(')') && SetLocalTime(first, second.substr(0, second.size() - 1), frame);
}

// The default output of candump. The length of a classic frame has one digit ("[8]"), that of a CAN FD frame
// two
// ("[08]").
std::optional<frame_t> ParseCandumpLine(std::string_view line) {
  FieldReader fields(line);
  frame_t frame;
  if (!ReadBracketedStamp(fields, frame)) return std::nullopt;
  fields.Next();  // the interface
  if (!ParseIdentifier(SkipDirection(fields), 3, frame)) return std::nullopt;
  const auto bytes = ParseBracketedLength(fields.Next());
  if (!bytes || !ReadData(fields, *bytes, frame)) return std::nullopt;
  const std::string_view rest = fields.Next();
  if (!rest.empty() && !rest.starts_with('\'')) return std::nullopt;  // a remote request; -a adds 'letters'
  return frame;
}

// Ignores the fields after the data, such as the duration of the frame.
std::optional<frame_t> ParseAscLine(std::string_view line) {
  FieldReader fields(line);
  frame_t frame;
  if (!SetStamp(fields.Next(), frame)) return std::nullopt;
  fields.Next();  // the channel
  std::string_view identifier = fields.Next();
  const bool extended = identifier.ends_with('x');
  if (extended) identifier.remove_suffix(1);
  fields.Next();  // the direction
  if (!SetIdentifier(identifier, extended, frame) || fields.Next() != "d") return std::nullopt;
  const auto length = ParseNumber<std::uint8_t>(fields.Next(), 16);
  if (!length || !ReadData(fields, *length, frame)) return std::nullopt;
  return frame;
}

// Base64 of RFC 4648, section 4. False for another letter and for more bytes than a frame has.
bool ReadBase64(std::string_view text, frame_t& frame) {
  constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  while (text.ends_with('=')) text.remove_suffix(1);
  std::uint32_t bits = 0;
  unsigned held = 0;
  for (const char letter : text) {
    const std::size_t value = ALPHABET.find(letter);
    if (value == std::string_view::npos) return false;
    bits = bits << 6U | static_cast<std::uint32_t>(value);
    held += 6;
    if (held < 8) continue;
    held -= 8;
    if (frame.length == frame.data.size()) return false;
    frame.data[frame.length++] = static_cast<std::uint8_t>(bits >> held);
  }
  return true;
}

std::array<std::string_view, 7> SplitColumns(std::string_view line) {
  std::array<std::string_view, 7> columns;
  while (line.ends_with('\r')) line.remove_suffix(1);
  for (std::string_view& column : columns) {
    const std::size_t comma = std::min(line.find(','), line.size());
    column = line.substr(0, comma);
    line.remove_prefix(std::min(comma + 1, line.size()));
  }
  return columns;
}

// timestamp,arbitration_id,extended,remote,error,dlc,data
std::optional<frame_t> ParseCsvLine(std::string_view line) {
  constexpr std::string_view HEX_PREFIX = "0x";
  const auto [stamp, identifier, extended, remote, error, length, data] = SplitColumns(line);
  frame_t frame;
  if (remote != "0" || error != "0" || !identifier.starts_with(HEX_PREFIX) || !SetStamp(stamp, frame) ||
      !SetIdentifier(identifier.substr(HEX_PREFIX.size()), extended == "1", frame) ||
      !ReadBase64(data, frame) || length != std::to_string(frame.length)) {
    return std::nullopt;
  }
  return frame;
}

}  // namespace

std::optional<log_line_t> ParseLogLine(std::string_view line) {
  FieldReader fields(line);
  const std::string_view stamp = fields.Next();
  const std::string_view interface = fields.Next();
  const std::string_view text = fields.Next();
  const std::string_view direction = fields.Next();  // "T" or "R" in a log of candump -x
  const std::size_t hash = text.find('#');
  const auto time = ParseLogStamp(stamp);
  if (hash == std::string_view::npos || !fields.Next().empty() ||
      (!direction.empty() && direction != "T" && direction != "R")) {
    return std::nullopt;
  }
  log_line_t result{.frame = {}, .interface = interface};
  if (!time || !ParseIdentifier(text.substr(0, hash), 3, result.frame) ||
      !ParseHexBytes(text.substr(hash + 1), result.frame)) {
    return std::nullopt;
  }
  result.frame.time_us = *time;
  return result;
}

std::string FormatLogLine(const frame_t& frame, std::string_view interface) {
  std::string line = FormatLogStamp(frame.time_us);
  line.append(" ").append(interface).append(" ").append(FormatIdentifier(frame)).append("#");
  AppendHexBytes(line, frame.Bytes());
  return line;
}

std::optional<frame_t> ParseAnyLogLine(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  if (line.starts_with('(')) {
    const auto logged = ParseLogLine(line);
    return logged ? logged->frame : ParseCandumpLine(line);
  }
  return line.find(',') == std::string_view::npos ? ParseAscLine(line) : ParseCsvLine(line);
}

}  // namespace bus
