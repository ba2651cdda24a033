// Reads the frames of a log one by one, in every form that bus::ParseAnyLogLine knows. Other lines are skipped.
#pragma once

#include <array>
#include <cstdint>
#include <istream>
#include <optional>

#include "bus/can_frame.h"

namespace host {

class LogReader {
 public:
  explicit LogReader(std::istream& in) : in_(in) {}
  // The next frame; empty at the end. Lines without a frame are skipped and counted. Throws UsageError at the
  // heading of an ASC log with decimal identifiers or relative times: its lines would be read wrongly.
  std::optional<bus::frame_t> Next();
  std::uint64_t Skipped() const { return skipped_; }

 private:
  // Reads a line into `line_`; false at the end. A line that exceeds it is skipped and `tooLong` is set.
  bool ReadLine(bool& tooLong);

  std::istream& in_;
  std::array<char, 256> line_{};  // a frame's line has at most some 150 characters
  std::uint64_t skipped_ = 0;
};

}  // namespace host
