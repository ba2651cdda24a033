// hx7 check --logs: which logs the display shows differently than before.
#pragma once

#include <string>

namespace host {

struct check_logs_options_t {
  std::string logs;      // a folder with logs, in folders of their own too; or one log
  std::string baseline;  // --against: the folder with the results of before
  std::string write;     // --write: the folder that gets the results, without a comparison
  std::string results;   // of the present display; empty: the baseline's name with ".now"
  std::string junit;     // empty: none
  std::string config;    // empty: the one of this program
  std::string film;      // the program; empty: the one beside this program
  unsigned jobs = 0;     // films at the same time; 0: one for each core
  bool resume = false;   // keep results that are whole and of the same log and display
  bool force = false;    // --write: replace results
  bool quiet = false;    // no progress
};

// Makes a film of each log and compares it with the result of before. Prints the logs that differ on standard
// output, progress and a summary on standard error. Returns the exit status: 0 all logs show the same, 1 some
// do not or a film failed, 3 stopped by a signal; results that are finished then stay for --resume. Throws
// UsageError where nothing can begin.
int CheckLogs(const check_logs_options_t& options);

}  // namespace host
