// Passes commands from the terminal and from HTTP to the thread that runs the crane.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "host/simulate/config_files.h"
#include "host/simulate/scenario.h"

namespace simulate {

// Direct control of the crane; ends the scenario.
struct manual_control_t {
  std::vector<crane_action_t> actions;
};
using simulation_command_t = std::variant<crane_action_t, scenario_t, manual_control_t>;

// Reads an action in the form of a scenario, or `scenario NAME|none`. Throws host::UsageError.
simulation_command_t ParseSimulationCommand(std::string_view text, const ConfigFiles& files);

// Commands that wait for the thread that runs the crane. All calls from any thread.
class CommandQueue {
 public:
  // Returns false, without taking the command, if 256 wait already.
  bool Post(simulation_command_t control);
  std::vector<simulation_command_t> Drain();

 private:
  std::mutex mutex_;
  std::vector<simulation_command_t> waiting_;  // guarded by mutex_
};

// The latest state, from the thread that runs the crane to those that show it. All calls from any thread.
class StateBoard {
 public:
  void Show(simulation_state_t state);
  simulation_state_t Get() const;

 private:
  mutable std::mutex mutex_;
  simulation_state_t state_;  // guarded by mutex_
};

}  // namespace simulate
