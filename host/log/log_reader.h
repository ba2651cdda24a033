// Reads the frames of a log one by one. What the log is, its first bytes say, and not its name: a BLF log
// (host/log_forms/blf_reader.h), or lines of text in any mixture, as bus::ParseAnyLogLine and TrcLines
// (host/log_forms/trc_lines.h) know them; each packed with gzip, with zstd or not at all. Whatever is not a
// data frame is skipped.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <optional>

#include "bus/can_frame.h"
#include "host/log_forms/blf_reader.h"
#include "host/log_forms/trc_lines.h"
#include "host/log_forms/unpacking.h"

namespace host {

class LogReader {
 public:
  explicit LogReader(std::istream& in) : unpacking_(in), in_(&unpacking_) {}
  // The next frame; empty at the end. Throws UsageError where the log cannot be read any further: at the
  // heading of an ASC log with decimal identifiers or relative times, whose lines would be read wrongly, at
  // that of a form that hx7 does not read, and where a BLF log or packed data are broken. The frames before
  // that place have been returned.
  std::optional<bus::frame_t> Next();
  // Lines without a frame; in a BLF log the frames that are not classic data frames.
  std::uint64_t Skipped() const { return skipped_ + (blf_ ? blf_->Skipped() : 0); }

 private:
  void ChooseForm();
  // Reads a line into `line_`; false at the end. A line that exceeds it is skipped and `tooLong` is set.
  bool ReadLine(bool& tooLong);
  std::optional<bus::frame_t> NextOfLines();
  void CheckPacking() const;

  UnpackingBuffer unpacking_;
  std::istream in_;
  bool isBegun_ = false;
  std::optional<BlfReader> blf_;
  TrcLines trc_;
  std::array<char, 256> line_{};  // a frame's line has at most some 150 characters
  std::uint64_t skipped_ = 0;
};

}  // namespace host
