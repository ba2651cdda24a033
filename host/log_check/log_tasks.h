// The logs of a check, each one task: its film, its result file, and the comparison with the result of before.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/link/stop_signal.h"
#include "host/log_check/film_process.h"
#include "host/log_check/film_result.h"

namespace host::log_check {

enum class outcome_t : std::uint8_t {
  WAITS,  // stopped before it was done
  SAME,   // or, without a comparison, done
  DIFFERS,
  NEW,     // nothing to compare with
  FAILED,  // the log cannot be read, or the display died
  NO_LOG,  // a file without a frame
};

struct log_task_t {
  std::string log;
  std::string name;    // below the folder of the logs
  std::string result;  // file
  std::string before;  // result file of before; empty: no comparison
  outcome_t outcome = outcome_t::WAITS;
  bool isKept = false;     // the result was there and whole
  std::string words = {};  // what differs, or what went wrong
};

struct log_plan_t {
  film_program_t film;
  std::string display;  // the digest of program and configuration
  bool resume = false;
  unsigned jobs = 1;
};

// Does all tasks on `plan.jobs` threads. Calls `onDone` after each, one at a time, on any of these threads.
void RunTasks(std::vector<log_task_t>& tasks, const log_plan_t& plan, const StopSignal& stop,
              const std::function<void(const log_task_t& task)>& onDone);

}  // namespace host::log_check
