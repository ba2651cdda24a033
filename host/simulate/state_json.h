// The simulation's state as JSON, and the JSON requests that change it.
#pragma once

#include <span>
#include <string>

#include "host/simulate/simulation_commands.h"

namespace simulate {

// The answer to GET /api/state. Unknown numbers are null.
std::string StateJson(const simulation_state_t& state, std::span<const std::string> scenarios);

// Reads {"do":"boom angle 45"}. Throws host::UsageError.
simulation_command_t ReadDo(const std::string& body, const ConfigFiles& files);
// Reads {"angle":45,"load":5000}: targets of angle, length, swing, load and hoist in degrees, metres and
// kilograms, at least one. Throws host::UsageError.
simulation_command_t ReadControls(const std::string& body);

}  // namespace simulate
