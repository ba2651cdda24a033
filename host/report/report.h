// hx7 report: a web page that shows what a log says, and the screen as the operator saw it.
#pragma once

#include <string>
#include <vector>

namespace host::report {

struct report_options_t {
  std::vector<std::string> logs;
  std::string output;
  std::string keysFile;  // keys.log of the same recording; empty: none
  std::string title;     // empty: the names of the logs
  std::string config;    // the configuration's folder; empty: found as usual
};

// Writes the report, with progress on a terminal. Throws UsageError and Failure.
void MakeReport(const report_options_t& options);

}  // namespace host::report
