// Fuzzes logs in every form of lines that the host reads. A frame of any form is the same after it was written
// in candump's form and read again; the log reader returns the frames of the single lines, and counts the lines
// without one.
#include "bus/log_lines.h"

#include <sstream>

#include "fuzz/fuzz_input.h"
#include "host/log/log_reader.h"
#include "host/log_forms/trc_lines.h"
#include "host/protocol/errors.h"

namespace {

using fuzz::Require;

bool IsSame(const bus::frame_t& one, const bus::frame_t& other) {
  return one.identifier == other.identifier && one.extended == other.extended && one.length == other.length &&
         one.data == other.data && one.time_us == other.time_us;
}

// A line with more than 255 characters has no frame, and one with a zero byte ends there.
std::optional<bus::frame_t> ReadLine(const std::string& line, host::TrcLines& trc) {
  if (line.size() > 255) return std::nullopt;
  if (line.starts_with(';')) trc.AcceptHeading(line.c_str());
  auto frame = bus::ParseAnyLogLine(line.c_str());
  if (!frame) frame = trc.Parse(line.c_str());
  if (!frame) return frame;
  Require(frame->length <= 8 && frame->identifier <= (frame->extended ? 0x1FFFFFFFU : 0x7FFU));
  const std::string written = bus::FormatLogLine(*frame, "can0");
  const auto again = bus::ParseLogLine(written);
  Require(again && IsSame(again->frame, *frame) && again->interface == "can0");
  return frame;
}

// Packed and binary logs are the target log_files's.
bool IsText(const std::string& text) {
  for (const std::string_view beginning : {"LOGG", "MDF     ", "UnFinMF ", "\x1f\x8b", "\x28\xb5\x2f\xfd"})
    if (text.starts_with(beginning)) return false;
  return true;
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  const std::string text = TextOf(input);
  if (!IsText(text)) return;
  std::istringstream lines(text);
  std::istringstream log(text);
  host::LogReader reader(log);
  host::TrcLines trc;
  std::uint64_t skipped = 0;
  try {
    for (std::string line; std::getline(lines, line);) {
      const auto frame = ReadLine(line, trc);
      if (!frame && (line.size() > 255 || line.c_str()[0] != '\0')) ++skipped;
      if (!frame) continue;
      const auto next = reader.Next();
      Require(next && IsSame(*next, *frame));
    }
    Require(!reader.Next() && reader.Skipped() == skipped);
  } catch (const host::UsageError&) {  // at the heading of a log that would be read wrongly
    Require(text.find("base ") != std::string::npos || text.find(";$FILEVERSION=") != std::string::npos);
  }
}
