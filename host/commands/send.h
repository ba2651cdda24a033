// hx7 send: sends commands of the host once.
#pragma once

#include <string>
#include <vector>

namespace host {

struct send_options_t {
  std::string bus = "local";
  bool neutral = false;    // begin with operating values 0 instead of those sent last
  double timeout_s = 1.0;  // to wait for the display's reply to a request
  std::vector<std::string> arguments;
};
// Prints each reply on standard output. Throws UsageError before anything is sent, and Failure.
void Send(const send_options_t& options);

}  // namespace host
