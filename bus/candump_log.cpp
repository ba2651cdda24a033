#include "bus/can_frame.h"
#include "bus/text_fields.h"

namespace bus {

std::optional<log_line_t> ParseLogLine(std::string_view line) {
  FieldReader fields(line);
  const std::string_view stamp = fields.Next();
  const std::string_view interface = fields.Next();
  const std::string_view text = fields.Next();
  const std::string_view direction = fields.Next();  // "T" or "R" where the log was made with candump -x
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

}  // namespace bus
