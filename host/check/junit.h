// The results of a check as JUnit XML, which continuous integration reads.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/check/case_run.h"

namespace check {

using finished_case_t = std::pair<case_t, case_result_t>;

// One test case for each scenario and seed. Throws host::Failure if the file cannot be written.
void WriteJunit(const std::string& file, const std::vector<finished_case_t>& cases);

}  // namespace check
