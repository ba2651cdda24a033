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

enum class report_outcome_t {
  WHOLE,
  WITHOUT_SCREEN,  // film failed: the report says until when it has the screen
  STOPPED,         // by a signal; no report was written
};
// Writes the report, with progress on a terminal. Throws UsageError and Failure.
report_outcome_t MakeReport(report_options_t options);

}  // namespace host::report
