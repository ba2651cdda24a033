// `unit replay`: shows again what a bundle recorded, on a unit with the bundle's own configuration.
#pragma once

#include <string>

#include "unit/program/run.h"

namespace unit {

struct replay_options_t {
  std::string file;
  bool check = false;  // stop at the end of the log and compare the screen with the recorded one
};

// Unpacks the bundle into $RUNTIME/replay and runs a unit that plays its bus. `plan` has the options of a run;
// its configuration and host are the bundle's. Returns the exit status: with `check`, 1 when the screen
// differs.
int Replay(const replay_options_t& options, run_plan_t plan);

}  // namespace unit
