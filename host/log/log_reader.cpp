#include "host/log/log_reader.h"

#include <limits>
#include <string_view>

#include "bus/log_lines.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

// Checks a heading line of an ASC log.
void CheckHeading(std::string_view line) {
  if (!line.starts_with("base ")) return;
  if (!line.starts_with("base hex") || line.find("relative") != std::string_view::npos) {
    throw UsageError("the log says \"" + std::string(line.substr(0, line.find('\r'))) +
                  "\", which hx7 does not read; write it again with base hex and absolute timestamps");
  }
}

}  // namespace

bool LogReader::ReadLine(bool& tooLong) {
  if (in_.eof()) return false;
  in_.getline(line_.data(), static_cast<std::streamsize>(line_.size()));
  tooLong = in_.fail() && in_.gcount() > 0;
  if (in_.bad() || (in_.fail() && !tooLong)) return false;
  if (tooLong) {
    in_.clear();
    in_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  }
  return true;
}

std::optional<bus::frame_t> LogReader::Next() {
  for (bool tooLong = false; ReadLine(tooLong);) {
    if (tooLong) {
      ++skipped_;
      continue;
    }
    if (const auto frame = bus::ParseAnyLogLine(line_.data())) return frame;
    CheckHeading(line_.data());
    if (line_[0] != '\0') ++skipped_;
  }
  return std::nullopt;
}

}  // namespace host
