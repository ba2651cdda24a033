#include "host/log/log_reader.h"

#include <limits>
#include <string_view>

#include "bus/log_lines.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

// The head of an ASC log.
void CheckHead(std::string_view line) {
  if (!line.starts_with("base ")) return;
  if (!line.starts_with("base hex") || line.find("relative") != std::string_view::npos) {
    throw Failure("this log counts otherwise (\"" + std::string(line.substr(0, line.find('\r'))) +
                  "\"); write it again with base hex and absolute timestamps");
  }
}

}  // namespace

std::optional<bus::frame_t> LogReader::Next() {
  while (!in_.eof()) {
    in_.getline(line_.data(), static_cast<std::streamsize>(line_.size()));
    const auto length = static_cast<std::size_t>(in_.gcount());
    const bool tooLong = in_.fail() && length > 0;
    if (in_.bad() || (in_.fail() && !tooLong)) return std::nullopt;
    if (tooLong) {
      in_.clear();
      in_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    } else if (const auto frame = bus::ParseAnyLogLine(line_.data())) {
      return frame;
    } else {
      CheckHead(line_.data());
    }
    const bool blank = !tooLong && line_[0] == '\0';
    if (!blank) ++skipped_;
  }
  return std::nullopt;
}

}  // namespace host
