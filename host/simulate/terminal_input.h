// Reads commands from the terminal, line by line, without waiting for input.
#pragma once

#include <string>

#include "host/simulate/simulation_commands.h"

namespace simulate {

class TerminalInput {
 public:
  TerminalInput(CommandQueue& queue, const ConfigFiles& files) : queue_(queue), files_(files) {}
  // Executes the lines typed since the last call. Prints the answers to `help` and `status` on standard output
  // and errors on standard error. Returns false at the end of the input and after `quit`; all lines before it
  // have then been executed.
  bool Step(const LoadComputer& computer);

 private:
  bool Accept(std::string_view typed, const LoadComputer& computer);
  void PostCommand(const std::string& line);
  bool Execute(const std::string& line, const LoadComputer& computer);

  CommandQueue& queue_;
  const ConfigFiles& files_;
  std::string line_;  // the unfinished line
};

// The state in a few lines for the user.
std::string DescribeState(const simulation_state_t& state);

}  // namespace simulate
