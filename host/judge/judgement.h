// How expectations came out, and the file in which `hx7 simulate` passes this on to `hx7 check`.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace judge {

constexpr const char* RESULTS_FILE = "results.jsonl";  // of the folder for the results

// Where an expectation stands.
struct expectation_place_t {
  std::string file;  // of the scenario; empty: typed at the terminal or sent over HTTP
  std::size_t line = 0;
};

struct judgement_t {
  expectation_place_t place;
  std::string words;    // of the expectation
  double within_s = 0;  // of the expectation
  bool fulfilled = false;
  double crane_s = 0;  // the crane's time when the expectation began
  std::string stood;   // what stood there instead; empty where it is fulfilled
};

// "overload.scenario:17: expected lamp overload within 2 s: ...", for a failure.
std::string DescribeFailure(const judgement_t& judgement);

// One line of JSON for each judgement.
std::string FormatJudgement(const judgement_t& judgement);
// Reads what FormatJudgement wrote. Lines that are not whole, of a process that was killed, are left out.
std::vector<judgement_t> ReadJudgements(const std::string& file);

}  // namespace judge
