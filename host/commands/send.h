// hx7 send: commands of the host, put on the bus once.
#pragma once

#include <string>
#include <vector>

namespace host {

struct send_options_t {
  std::string bus = "local";
  bool neutral = false;    // begin with neutral values instead of those sent last
  double timeout_s = 1.0;  // for the display's answer
  std::vector<std::string> arguments;
};
void Send(const send_options_t& options);

}  // namespace host
