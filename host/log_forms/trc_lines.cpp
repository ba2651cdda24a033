#include "host/log_forms/trc_lines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>

#include "bus/text_fields.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

struct trc_version_t {
  std::string_view name;
  std::string_view columns;  // letters as in ";$COLUMNS="
};
constexpr std::array<trc_version_t, 6> VERSIONS = {{{"1.0", "NOILD"},
                                                    {"1.1", "NOTILD"},
                                                    {"1.2", "NOBTILD"},
                                                    {"1.3", "NOBTIRLD"},
                                                    {"2.0", "NOTIdLD"},
                                                    {"2.1", "NOTBIdRLD"}}};

// The value of "NAME=VALUE"; empty for another name.
std::string_view ValueOf(std::string_view line, std::string_view name) {
  if (!line.starts_with(name)) return {};
  line.remove_prefix(name.size());
  return line.substr(0, line.find_last_not_of(" \t\r") + 1);
}

// Whole milliseconds, because the days of a program have an error below one.
std::uint64_t ParseDays_us(std::string_view text) {
  constexpr double DAYS_TO_1970 = 25569;
  constexpr double MOST_DAYS = 1'000'000;
  constexpr double MS_PER_DAY = 86'400'000;
  constexpr std::int64_t MS_PER_SECOND = 1'000;
  double days = 0;
  std::from_chars(text.data(), text.data() + text.size(), days);
  if (!(days >= DAYS_TO_1970 && days < MOST_DAYS)) return 0;
  const std::int64_t local_ms = std::llround((days - DAYS_TO_1970) * MS_PER_DAY);
  const std::time_t seconds = local_ms / MS_PER_SECOND;
  std::tm local{};
  ::gmtime_r(&seconds, &local);  // the date as it was on the clock
  local.tm_isdst = -1;
  const std::time_t begin = std::mktime(&local);
  return begin < 0 ? 0 : static_cast<std::uint64_t>(begin * MS_PER_SECOND + local_ms % MS_PER_SECOND) * 1'000;
}

std::string ParseColumns(std::string_view text) {
  std::string columns;
  for (std::size_t i = 0; i < text.size() && columns.size() < 16; i += 2) columns += text[i];
  return columns;
}

// Milliseconds with or without decimals; those below a microsecond are cut off.
std::optional<std::uint64_t> ParseMs_us(std::string_view text) {
  constexpr std::uint64_t US_PER_MS = 1'000;
  constexpr std::uint64_t MOST_MS = 1'000'000'000'000'000;
  const std::size_t point = std::min(text.find('.'), text.size());
  const auto whole = bus::ParseNumber<std::uint64_t>(text.substr(0, point), 10);
  std::string decimals(point < text.size() ? text.substr(point + 1, 3) : "");
  if (!whole || *whole > MOST_MS || !std::ranges::all_of(decimals, [](char c) { return c >= '0' && c <= '9'; }))
    return std::nullopt;
  decimals.resize(3, '0');
  return *whole * US_PER_MS + *bus::ParseNumber<std::uint64_t>(decimals, 10);
}

// "Rx", "Tx" and, from version 2.0 on, "DT" are data frames.
bool IsDataType(std::string_view word) {
  return word == "Rx" || word == "Tx" || word == "DT";
}

bool IsNumber(std::string_view word) {
  if (word.ends_with(')')) word.remove_suffix(1);
  return bus::ParseNumber<std::uint64_t>(word, 10).has_value();
}

// Four digits are an 11-bit identifier. Other programs write 29-bit ones without leading zeros.
bool SetTrcIdentifier(std::string_view word, bus::frame_t& frame) {
  constexpr std::size_t STANDARD_DIGITS = 4;
  return bus::SetIdentifier(word, word.size() > STANDARD_DIGITS, frame);
}

// "RTR" instead of data is a remote frame.
bool ReadTrcData(bus::FieldReader& words, std::optional<std::uint8_t> length, bus::frame_t& frame) {
  if (!length || *length > frame.data.size()) return false;
  while (frame.length < *length) {
    const std::string_view word = words.Next();
    if (word.size() != 2 || !bus::ParseHexBytes(word, frame)) return false;
  }
  return true;
}

}  // namespace

void TrcLines::AcceptHeading(std::string_view line) {
  if (const auto name = ValueOf(line, ";$FILEVERSION="); !name.empty()) {
    const auto* const version = std::ranges::find(VERSIONS, name, &trc_version_t::name);
    if (version == VERSIONS.end()) {
      throw UsageError("hx7 does not read version " + std::string(name) +
                       " of TRC logs; write the log again in version 2.1 or an older one");
    }
    columns_ = version->columns;
  }
  if (const auto days = ValueOf(line, ";$STARTTIME="); !days.empty()) begin_us_ = ParseDays_us(days);
  if (const auto columns = ValueOf(line, ";$COLUMNS="); !columns.empty()) columns_ = ParseColumns(columns);
}

std::optional<bus::frame_t> TrcLines::Parse(std::string_view line) const {
  bus::FieldReader words(line);
  bus::frame_t frame;
  std::optional<std::uint64_t> time_us;
  std::optional<std::uint8_t> length;
  for (const char column : columns_) {
    if (column == 'D') {
      if (!time_us || !ReadTrcData(words, length, frame)) return std::nullopt;
      frame.time_us = begin_us_ + *time_us;
      return frame;
    }
    const std::string_view word = words.Next();
    const bool isRight = (column != 'N' || IsNumber(word)) && (column != 'T' || IsDataType(word)) &&
                         (column != 'I' || SetTrcIdentifier(word, frame));
    if (!isRight) return std::nullopt;
    if (column == 'O') time_us = ParseMs_us(word);
    if (column == 'L' || column == 'l') length = bus::ParseNumber<std::uint8_t>(word, 10);
  }
  return std::nullopt;
}

}  // namespace host
