#include "host/log_reader.h"

#include <limits>

namespace host {

std::optional<bus::frame_t> LogReader::Next() {
  while (!in_.eof()) {
    in_.getline(line_.data(), static_cast<std::streamsize>(line_.size()));
    const auto length = static_cast<std::size_t>(in_.gcount());
    const bool tooLong = in_.fail() && length > 0;
    if (in_.bad() || (in_.fail() && !tooLong)) return std::nullopt;
    if (tooLong) {
      in_.clear();
      in_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    } else if (const auto line = bus::ParseLogLine(line_.data())) {
      return line->frame;
    }
    const bool blank = !tooLong && line_[0] == '\0';
    if (!blank) ++skipped_;
  }
  return std::nullopt;
}

}  // namespace host
