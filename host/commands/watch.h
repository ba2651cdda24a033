// hx7 watch: shows both directions of the bus, live or from a log, in words.
#pragma once

#include <optional>
#include <string>

namespace host {

struct watch_options_t {
  std::string bus = "local";
  std::string file;  // "-": standard input; empty: the live bus
  bool json = false;
  bool changes = false;           // only messages that differ from the last of their kind
  std::optional<double> seconds;  // empty: until a stop signal
};
// Prints one line for each message on standard output and a summary on standard error. Throws Failure.
void Watch(const watch_options_t& options);

}  // namespace host
