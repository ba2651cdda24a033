// hx7 watch: both directions of the bus, or a log of it, in words.
#pragma once

#include <optional>
#include <string>

namespace host {

struct watch_options_t {
  std::string bus = "local";
  std::string file;  // empty: the live bus
  bool json = false;
  bool changes = false;  // only messages that differ from the last of their kind
  std::optional<double> seconds;
};
void Watch(const watch_options_t& options);

}  // namespace host
