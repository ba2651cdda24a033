// hx7 check: runs scenarios against desks that it starts itself, and says whether the display does what they
// expect.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace check {

struct check_options_t {
  std::vector<std::string> scenarios;  // names, files, or `all`
  std::vector<std::uint32_t> seeds = {1};
  std::string junit;   // a file; empty: none
  unsigned jobs = 0;   // desks at the same time; 0: by the free cores, JOBS_PER_CORE for each at most
  double speed = 100;  // the greatest; a scenario's own `speed` line holds where it is less
  std::string keep = "hx7-check";
  std::string config;  // the configuration folder; empty: base::FindConfigFolder finds it
  bool writePictures = false;
};

// A desk takes a tenth of a core at the speed 1, and a fifth at the speed 8; most of its start and end is
// waiting. Without `jobs`, a further desk starts only while the machine has free cores, because a display that
// gets no processor time shows everything late; LEAST_JOBS run in any case.
constexpr unsigned JOBS_PER_CORE = 8;
constexpr unsigned LEAST_JOBS = 2;

// Returns one of base::exit_status_t: failed where a run failed, interrupted where a stop signal came before
// the last one had ended. Throws host::UsageError and host::Failure before anything has begun.
int Check(const check_options_t& options);

}  // namespace check
