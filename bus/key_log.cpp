#include "bus/key_log.h"

#include "bus/text_fields.h"

namespace bus {
namespace {

constexpr int KEYS = 8;

}  // namespace

std::string FormatKeyLine(const key_change_t& change) {
  return FormatLogStamp(change.time_us) + " key " + std::to_string(change.key) +
         (change.down ? " down" : " up");
}

std::optional<key_change_t> ParseKeyLine(std::string_view line) {
  FieldReader fields(line);
  const auto time = ParseLogStamp(fields.Next());
  const bool isKey = fields.Next() == "key";
  const auto key = ParseNumber<int>(fields.Next(), 10);
  const std::string_view state = fields.Next();
  if (!time || !isKey || !key || *key < 1 || *key > KEYS || (state != "down" && state != "up") ||
      !fields.Next().empty()) {
    return std::nullopt;
  }
  return key_change_t{.time_us = *time, .key = *key, .down = state == "down"};
}

}  // namespace bus
