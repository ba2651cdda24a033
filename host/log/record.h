// hx7 record: writes the frames of the bus to a log.
#pragma once

#include <optional>
#include <string>

namespace host {

struct record_options_t {
  std::string bus = "local";
  std::string file;               // "-": standard output
  bool force = false;             // replace an existing file
  std::optional<double> seconds;  // empty: until a stop signal
};
// Throws Failure and UsageError.
void Record(const record_options_t& options);

}  // namespace host
