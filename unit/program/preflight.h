// Finds what is wrong with a run before anything of it is started.
#pragma once

#include <string>

#include "unit/program/run.h"

namespace unit {

// The first mistake in the plan, empty where there is none: an address, the configuration (names, parameters,
// pages, words), and what hx7 is to play or to simulate. hx7 itself reads its files: this program runs it with
// --check and waits for its end.
std::string FindMistake(const run_plan_t& plan);

}  // namespace unit
