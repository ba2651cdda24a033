// `unit replay`: plays the bus log of a bundle on a unit with the bundle's own configuration.
#pragma once

#include <string>

#include "unit/program/run.h"

namespace unit {

struct replay_options_t {
  std::string file;
  bool check = false;  // stop at the end of the log and compare the screen with the recorded one
};

// Unpacks the bundle into $RUNTIME/replay and runs a unit that plays its bus log. `plan` holds the options of
// the run; Replay sets its configuration and its log to those of the bundle. Returns the exit status: 1 after
// an error and, with `check`, when the screen differs from the recorded one.
int Replay(const replay_options_t& options, run_plan_t plan);

}  // namespace unit
