// What `hx7 send` was told to do, worked out before anything is sent: an error in the last word sends nothing.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "bus/can_frame.h"
#include "host/protocol/cmd2_values.h"
#include "host/protocol/protocol.h"

namespace host {

struct send_step_t {
  std::vector<bus::frame_t> frames;
  const command_t* request = nullptr;  // whose reply is waited for
};

// Arguments are "name=value" or "name". All operating values go into one CMD2 and all texts into one CMD5, each
// where its first stands; the rest in order. `values` are those sent last and become those that will have been
// sent. Throws UsageError, with the nearest name where there is no such name.
struct plan_t {
  std::vector<send_step_t> steps;
  bool sendsValues = false;
};
plan_t PlanSend(std::span<const std::string> arguments, Cmd2Values& values);

// Every name with its values and units, for `hx7 send --list`.
std::string ListSendNames();

}  // namespace host
