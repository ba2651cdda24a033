#include "host/simulate/simulation_commands.h"

#include "host/protocol/errors.h"

namespace simulate {

simulation_command_t ParseSimulationCommand(std::string_view text, const ConfigFiles& files) {
  const std::vector<std::string> words = SplitWords(text);
  if (words.empty()) throw host::UsageError("the command is empty; write an action, such as boom angle 45");
  if (words[0] != "scenario") return ParseAction(words);
  if (words.size() != 2)
    throw host::UsageError("scenario takes a name, or none; `hx7 simulate --list` shows the names");
  return words[1] == "none" ? scenario_t{} : files.NamedScenario(words[1]);
}

bool CommandQueue::Post(simulation_command_t control) {
  constexpr std::size_t MOST = 256;
  const std::scoped_lock lock(mutex_);
  if (waiting_.size() >= MOST) return false;
  waiting_.push_back(std::move(control));
  return true;
}

std::vector<simulation_command_t> CommandQueue::Drain() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(waiting_, {});
}

void StateBoard::Show(simulation_state_t state) {
  const std::scoped_lock lock(mutex_);
  state_ = std::move(state);
}

simulation_state_t StateBoard::Get() const {
  const std::scoped_lock lock(mutex_);
  return state_;
}

}  // namespace simulate
