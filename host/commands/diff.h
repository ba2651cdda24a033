// hx7 diff: what the display shows differently for two logs.
#pragma once

#include <cstdint>
#include <string>

namespace host {

struct diff_options_t {
  std::string a;
  std::string b;
  bool json = false;
  std::uint64_t limit = 20;  // differences that are printed; 0: all
};
// True where the display shows the same in both logs. Throws UsageError where one cannot be read, so that
// status 1 means a difference and nothing else.
bool Diff(const diff_options_t& options);

}  // namespace host
