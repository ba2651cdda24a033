// The options that both exhaustive programs share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/exhaustive/chunk_run.h"

namespace exhaustive {

struct proof_options_t {
  std::size_t sample = 0;  // 0: everything
  std::uint64_t seed = 1;
  std::string only;  // the checks of this name alone; empty: all
  std::string configDirectory;
  run_options_t run;
};

// Reads the command line, makes the checks, runs them and prints the number of differences. Returns the exit
// status: 0 when there is none, 1 when there are some, 2 when the command line or a file is wrong.
int RunProof(int argc, char** argv, const std::string& about,
             const std::function<std::vector<check_t>(const proof_options_t&)>& makeChecks);

}  // namespace exhaustive
