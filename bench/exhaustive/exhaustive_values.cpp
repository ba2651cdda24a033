// Compares the text on the screen for every value that the host can send with an independent reference.
#include "bench/exhaustive/exhaustive_options.h"
#include "bench/exhaustive/value_checks.h"

int main(int argc, char** argv) {
  return exhaustive::RunProof(
      argc, argv, "Compares what the screen shows for every operating value with what it must show",
      [](const exhaustive::proof_options_t& options) {
        if (options.sample == 0) return exhaustive::MakeValueChecks(options.configDirectory);
        return exhaustive::MakeSampledValueChecks(options.configDirectory, options.sample, options.seed);
      });
}
