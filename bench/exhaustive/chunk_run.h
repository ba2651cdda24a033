// A long check cut into chunks, on all cores, with progress and a way to go on after an interruption.
//
// The workers are processes, because the display's widgets keep what they last sent in variables of the
// process.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace exhaustive {

// One difference, as it is printed.
struct difference_t {
  std::string value;
  std::string expected;
  std::string got;
};

using report_t = std::function<void(const difference_t&)>;

// Something that is checked for every number from 0 to `cases` - 1.
struct check_t {
  std::string name;
  std::uint64_t cases = 0;
  // Compares the numbers first to last - 1. Runs in a worker process.
  std::function<void(std::uint64_t first, std::uint64_t last, const report_t& report)> run;
};

struct run_options_t {
  unsigned workers = 0;   // 0: as many as the machine has cores
  std::string stateFile;  // chunks that are done, a line each; those that it names already are passed over
  bool progress = true;
};

// Prints at most MOST_PRINTED differences a check, and the number of all. Returns it; a worker that dies counts
// as a difference too.
constexpr unsigned MOST_PRINTED = 20;
std::uint64_t RunChecks(const std::vector<check_t>& checks, const run_options_t& options);

// The numbers of a sample: `amount` random ones below `cases` by `seed`.
std::vector<std::uint64_t> DrawSample(std::uint64_t cases, std::size_t amount, std::uint64_t seed);

}  // namespace exhaustive
