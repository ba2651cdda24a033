// The state of a running unit at one moment, also while its crane moves.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "unit/bundle/archive.h"

namespace unit {

struct moment_t {
  archive_t files;                   // under state/
  std::vector<std::string> missing;  // files that the panel did not give
  // Microseconds of the real-time clock; what the bus carried later is not in the state. Empty where nothing
  // runs.
  std::optional<std::int64_t> time_us;
  bool isStill = false;  // the screen showed the same for so long that the state holds every frame before it
};

// Asks the panel until the screen has shown the same for longer than a frame takes to reach it; for some
// seconds at most.
moment_t CaptureMoment();

// The lines of a log, "(SECONDS) ...", that are not later than a moment.
std::string CutAfter(const std::string& log, std::int64_t time_us);

}  // namespace unit
