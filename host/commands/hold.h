// hx7 hold: makes the simulator that runs here send chosen values.
#pragma once

#include <string>
#include <vector>

namespace host {

struct hold_options_t {
  bool release = false;                // end all holds
  std::vector<std::string> arguments;  // "load=12300"; operating values only
};
// Throws UsageError for a wrong argument and Failure where no simulator runs.
void Hold(const hold_options_t& options);

// Whether a simulator answers in this runtime directory. Waits for a second at most.
bool SimulatorRuns();

}  // namespace host
