// One run of a scenario with one seed, against a desk of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/check/test_desk.h"

namespace check {

struct case_t {
  std::string name;  // of the scenario
  std::string file;
  std::uint32_t seed = 1;
  double speed = 1;     // the crane's time divided by real time
  double length_s = 0;  // of the scenario, in the crane's time
};

enum class verdict_t : std::uint8_t { PASSED, FAILED, INTERRUPTED };

struct case_result_t {
  verdict_t verdict = verdict_t::INTERRUPTED;
  std::vector<std::string> failures;  // one line each: what was expected and what stood there
  std::size_t expectations = 0;       // that were decided
  double seconds = 0;                 // of real time, with the desk's start and end
  std::string kept;                   // the folder with picture, log and bundle of a failure
};

struct case_settings_t {
  std::string programs;  // the folder of `unit` and `hx7`
  std::string config;
  std::string keep;  // the folder that gets a folder for each failure
  bool writePictures = false;
};

// "overload, seed 2".
std::string TitleOf(const case_t& run);

// Runs it in `folder`, which must exist and be empty. Calls `begins` when the scenario begins. Ends all that it
// started, also after a stop. Throws host::Failure if a program cannot be started.
case_result_t RunCase(const case_t& run, const case_settings_t& settings, const std::string& folder,
                      const host::StopSignal& stop, const std::function<void()>& begins);

}  // namespace check
