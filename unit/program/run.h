// `unit run`: runs the unit's services in this process, and the application and the host as child processes.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "unit/service/service.h"

namespace unit {

struct run_plan_t {
  options_t options;
  std::set<std::string> parts;         // what to run, of PartNames()
  std::string playFile;                // bus log that hx7 plays; empty: hx7 simulates a crane
  std::string keysFile;                // log of front keys that hx7 plays with it; empty: none
  bool loop = false;                   // play the log again and again
  std::string speed = "1";             // factor for the log's times, or "max"
  std::string scenario;                // of the simulated crane; empty: hx7's default
  bool untilDone = false;              // stop when hx7 has played the log, or the scenario, to its end
  std::function<bool()> hostMayStart;  // hx7 starts once this returns true; may be empty. See HOST_PATIENCE
  std::function<std::string()> atEnd;  // called before the services stop; returns a problem or an empty text
  std::string historyNote;             // printed with the address of the panel's history; empty: nothing
  std::string snapshotFile;            // PNG file for the picture at the end; empty: none
  std::optional<unsigned> seconds;     // how long to run; empty: until it is stopped
  unsigned silence = 10;               // seconds after which a silent application is started again; 0: never
  bool realTime = false;               // real-time priority and locked memory, also for the application
  bool verbose = false;                // print all lines of the programs, and the counters at the end
  std::optional<unsigned> tries;       // starts of a program that crashes; empty: 5 in a run with an end
  const char* command = "unit run";    // the beginning of its messages

  // Such a run tells at its end whether all went well.
  bool HasEnd() const { return seconds.has_value() || untilDone; }
};

// Runs until a stop is requested or the plan ends it. The caller has called BlockStopSignals. Returns the
// program's exit status, after one line for each reason on standard error: EXIT_CALLED_WRONGLY for a plan that
// cannot be run, before anything is started; EXIT_FAILED when it could not start or, in a run with an end, a
// part has failed; EXIT_INTERRUPTED when a stop came before that end.
int Run(const run_plan_t& plan);

}  // namespace unit
