// hx7 record: the bus, written to a log.
#pragma once

#include <optional>
#include <string>

namespace host {

struct record_options_t {
  std::string bus = "local";
  std::string file;
  bool force = false;  // replace a file that exists
  std::optional<double> seconds;
};
void Record(const record_options_t& options);

}  // namespace host
