// Reads the lines of a TRC log, the form of PEAK's tools, versions 1.0 to 2.1. The lines at its top say what
// those below mean: ";$FILEVERSION=2.1", ";$STARTTIME=43474.5722289" (days since 30 December 1899, local time)
// and ";$COLUMNS=N,O,T,B,I,d,R,L,D". A log without them has version 1.0.
//
// | version | example                                                        |
// |---------|----------------------------------------------------------------|
// | 1.0     | `1)      1059  18FF00D0 8 00 01 06 00 00 00 00 00`             |
// | 1.1     | `1)      1059.9 Rx     18FF00D0 8 00 01 06 00 ...`             |
// | 1.2     | `1)      1059.900 1  Rx     18FF00D0 8  00 01 06 ...`          |
// | 1.3     | `1)      1059.900 1  Rx     18FF00D0 - 8    00 01 06 ...`      |
// | 2.0     | `1      1059.900 DT 18FF00D0 Rx 8  00 01 06 ...`               |
// | 2.1     | `1      1059.900 DT 1 18FF00D0 Rx - 8    00 01 06 ...`         |
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace host {

class TrcLines {
 public:
  // Takes a line that begins with ";". Throws UsageError for a version that cannot be read.
  void AcceptHeading(std::string_view line);
  // The data frame of any other line; empty where it has none.
  std::optional<bus::frame_t> Parse(std::string_view line) const;

 private:
  std::string columns_ = "NOILD";
  std::uint64_t begin_us_ = 0;
};

}  // namespace host
