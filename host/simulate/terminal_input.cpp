#include "host/simulate/terminal_input.h"

#include <array>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <poll.h>
#include <unistd.h>

#include "host/protocol/errors.h"

namespace simulate {
namespace {

constexpr std::size_t MOST_LINE = 4096;

bool CanRead() {
  pollfd wait{STDIN_FILENO, POLLIN, 0};
  return ::poll(&wait, 1, 0) > 0;
}

}  // namespace

bool TerminalInput::Execute(const std::string& line, const LoadComputer& computer) {
  if (line == "quit" || line == "exit") return false;
  if (line.size() > MOST_LINE) {
    std::cerr << "hx7: the line is ignored; a line has at most 4096 characters\n";
  } else if (line == "help") {
    std::cout << ListActions() << "  scenario NAME | none\n  status\n  quit\n" << std::flush;
  } else if (line == "status") {
    std::cout << DescribeState(computer.State()) << std::flush;
  } else if (line.find_first_not_of(" \t\r") != std::string::npos) {
    PostCommand(line);
  }
  return true;
}

void TerminalInput::PostCommand(const std::string& line) {
  try {
    if (queue_.Post(ParseSimulationCommand(line, files_))) return;
    std::cerr << "hx7: the command is ignored: 256 wait already; try again\n";
  } catch (const host::UsageError& error) {
    std::cerr << "hx7: " << error.what() << "; `help` lists all actions\n";
  }
}

bool TerminalInput::Step(const LoadComputer& computer) {
  while (CanRead()) {
    std::array<char, 4096> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0) return false;
    if (!Accept(std::string_view(bytes.data(), static_cast<std::size_t>(count)), computer)) return false;
  }
  return true;
}

bool TerminalInput::Accept(std::string_view typed, const LoadComputer& computer) {
  for (const char c : typed) {
    if (c == '\n') {
      if (!Execute(std::exchange(line_, {}), computer)) return false;
    } else if (line_.size() <= MOST_LINE) {
      line_.push_back(c);
    }
  }
  return true;
}

std::string DescribeState(const simulation_state_t& state) {
  std::ostringstream text;
  const measured_t& now = state.measured;
  text << std::fixed << std::setprecision(1) << "time " << state.time_s << " s";
  if (!state.scenario.empty()) text << ", scenario " << state.scenario;
  if (state.silent) text << ", silent";
  text << "\nboom angle " << now.angle << " deg, length " << state.length << " m, radius " << now.radius
       << " m, swing " << now.swing << " deg\nhook " << state.hookHeight << " m, " << state.rigging.parts
       << " parts of line, load " << std::setprecision(0) << now.load << " kg of " << now.capacity << " kg, "
       << std::setprecision(1) << now.percent << " %\nbase " << crane::NameOf(crane::BASE_NAMES, state.base)
       << (state.baseMoves ? " (moving)" : "") << ", view " << VIEW_NAMES[static_cast<std::size_t>(state.view)]
       << "\nlamps";
  for (const std::string& lamp : state.lamps) text << ' ' << lamp;
  text << '\n';
  for (const auto& [field, shown] : state.texts) text << "  " << field << ": " << shown << '\n';
  return text.str();
}

}  // namespace simulate
