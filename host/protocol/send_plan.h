// Turns the arguments of `hx7 send` into messages before anything is sent, so that an error in the last
// argument sends nothing.
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
  const command_t* request = nullptr;  // wait for the display's reply to this request
};

struct plan_t {
  std::vector<send_step_t> steps;
  bool sendsValues = false;
};
// Each argument is "name=value" or "name". All operating values go into one CMD2 and all texts into one CMD5,
// at the place of the first of them; everything else is sent in the order given. `values` holds the operating
// values sent last and is updated to those of the plan. Throws UsageError; for an unknown name it suggests the
// nearest.
plan_t PlanSend(std::span<const std::string> arguments, Cmd2Values& values);

// Every name with its values and units, for `hx7 send --list`.
std::string ListSendNames();

}  // namespace host
