#include "host/log/log_reader.h"

#include <limits>
#include <string>
#include <string_view>
#include <utility>

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

void LogReader::ChooseForm() {
  constexpr std::string_view MDF = "MDF     ";
  constexpr std::string_view UNFINISHED_MDF = "UnFinMF ";
  const std::string_view beginning = unpacking_.PeekBeginning(MDF.size());
  if (beginning == MDF || beginning == UNFINISHED_MDF)
    throw UsageError("hx7 does not read MDF logs; write the log again as BLF or ASC");
  if (beginning.starts_with(BLF_BEGINNING)) blf_.emplace(unpacking_);
}

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

std::optional<bus::frame_t> LogReader::NextOfLines() {
  for (bool tooLong = false; ReadLine(tooLong);) {
    if (tooLong) {
      ++skipped_;
      continue;
    }
    const std::string_view line = line_.data();
    if (const auto frame = bus::ParseAnyLogLine(line)) return frame;
    if (const auto frame = trc_.Parse(line)) return frame;
    if (line.starts_with(';')) trc_.AcceptHeading(line);
    CheckHeading(line);
    if (!line.empty()) ++skipped_;
  }
  return std::nullopt;
}

void LogReader::CheckPacking() const {
  if (unpacking_.Problem().empty()) return;
  throw UsageError("the log cannot be read any further: " + unpacking_.Problem() +
                   "; what was before that place has been read");
}

std::optional<bus::frame_t> LogReader::Next() {
  if (!std::exchange(isBegun_, true)) ChooseForm();
  try {
    const auto frame = blf_ ? blf_->Next() : NextOfLines();
    if (!frame) CheckPacking();
    return frame;
  } catch (const UsageError&) {
    CheckPacking();  // a BLF log ends early where its packing does
    throw;
  }
}

}  // namespace host
