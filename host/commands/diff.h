// hx7 diff: finds what the display shows differently for two logs.
#pragma once

#include <cstdint>
#include <string>

namespace host {

struct diff_options_t {
  std::string a;
  std::string b;
  bool json = false;
  std::uint64_t limit = 20;  // differences to print; 0: all
};
// Prints the differences on standard output and a summary on standard error. Returns true if the display shows
// the same for both logs. Throws UsageError if a log cannot be read: exit status 1 must mean a difference only.
bool Diff(const diff_options_t& options);

}  // namespace host
