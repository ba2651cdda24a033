// Commands from outside, on the terminal or over HTTP, on their way to the thread that runs the crane.
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

// Somebody drives the crane himself: the scenario ends.
struct by_hand_t {
  std::vector<action_t> actions;
};
using control_t = std::variant<action_t, scenario_t, by_hand_t>;

// An action as a scenario has it, or `scenario NAME|none`. Throws host::UsageError.
control_t ParseControl(std::string_view text, const Shelf& shelf);

// From the threads that listen to the one that runs the crane. All calls from any thread.
class ControlQueue {
 public:
  // False when 256 wait already; the command is then not taken.
  bool Push(control_t control);
  std::vector<control_t> Take();

 private:
  std::mutex mutex_;
  std::vector<control_t> waiting_;  // guarded by mutex_
};

// The latest state, from the thread that runs the crane to those that tell of it. All calls from any thread.
class StateBoard {
 public:
  void Show(state_t state);
  state_t Get() const;

 private:
  mutable std::mutex mutex_;
  state_t state_;  // guarded by mutex_
};

}  // namespace simulate
