// `unit run`: the unit's services in this process and the application beside it.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "unit/service/service.h"

namespace unit {

// In the order of starting: the services of this process, then the programs "orvik" and "hx7".
const std::vector<std::string>& PartNames();
// Those that run where nobody names any: all but the native window.
std::set<std::string> UsualParts();
constexpr const char* WINDOW_PART = "window";

struct run_plan_t {
  options_t options;
  std::set<std::string> parts;         // which of PartNames() to run
  std::string playFile;                // a bus log for hx7 to play; empty: it simulates a crane
  std::string keysFile;                // front keys to press beside it; empty: none
  bool loop = false;                   // of the log
  std::string speed = "1";             // of the log
  std::string scenario;                // of the simulated crane; empty: its usual one
  bool untilPlayed = false;            // stop when the log has come to its end
  std::function<bool()> hostMayStart;  // asked every 100 ms, for a while, once the application listens
  std::function<std::string()> atEnd;  // called before the services stop; what is wrong, empty when nothing is
  std::string snapshotFile;
  std::optional<unsigned> seconds;  // until it stops by itself
  bool verbose = false;
};

// Runs until a stop is asked for. BlockStopSignals has been called. Returns the program's exit status.
int Run(const run_plan_t& plan);

}  // namespace unit
