// Reads the frames of a log, one after the other, in every form that bus::ParseAnyLogLine knows and whatever
// else stands in the file.
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
  // The next frame; empty at the end. Lines that are no frames are passed over and counted. Throws failure at a
  // head that says that the lines after it mean something else: decimal identifiers, or times since the line
  // before.
  std::optional<bus::frame_t> Next();
  std::uint64_t Skipped() const { return skipped_; }

 private:
  std::istream& in_;
  std::array<char, 256> line_{};  // a frame's line has some 150 characters at most; longer lines are no frames
  std::uint64_t skipped_ = 0;
};

}  // namespace host
