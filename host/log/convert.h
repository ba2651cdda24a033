// hx7 convert: writes a log in another form.
#pragma once

#include <string>

namespace host {

struct convert_options_t {
  std::string in;      // "-": standard input
  std::string out;     // "-": standard output
  std::string form;    // a name of LogForms(); empty: by the ending of `out`
  bool force = false;  // replace an existing file
};
// Says on standard error how many frames there were and what the new form lost. Where the log is broken, the
// frames before that place are written, then UsageError is thrown. Throws UsageError and Failure.
void Convert(const convert_options_t& options);

// "candump, asc, ...": the names for --form.
std::string ListLogForms();

}  // namespace host
