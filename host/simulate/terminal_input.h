// Commands on the terminal: lines of standard input, read without waiting.
#pragma once

#include <string>

#include "host/simulate/simulation_commands.h"

namespace simulate {

class TerminalInput {
 public:
  TerminalInput(CommandQueue& queue, const ConfigFiles& files) : queue_(queue), files_(files) {}
  // Takes what has been typed since the last call. `help` and `status` are answered on standard output,
  // mistakes on standard error. False when the input has ended or said `quit`; every line before that has been
  // taken.
  bool Step(const LoadComputer& computer);

 private:
  bool Execute(const std::string& line, const LoadComputer& computer);

  CommandQueue& queue_;
  const ConfigFiles& files_;
  std::string line_;  // not ended yet
};

// The state in a few lines for a person.
std::string DescribeState(const simulation_state_t& state);

}  // namespace simulate
