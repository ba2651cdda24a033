// The words that move the crane and its host: the same in scenarios, on the terminal and over HTTP.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/load_computer/load_computer.h"

namespace simulate {

// What an action may touch.
struct action_target_t {
  LoadComputer& computer;
  std::function<void(int)> pressFrontKey;       // of the real display, 1 to 8
  std::function<void(const std::string&)> say;  // a line for the person who watches
};
using crane_action_t = std::function<void(action_target_t&)>;

// Words between blanks; one in double quotes may hold blanks. # begins a comment. Throws host::UsageError for
// a quote that does not end.
std::vector<std::string> SplitWords(std::string_view text);

// An action with its arguments, at least one word. Everything is checked here: the action itself cannot fail.
// Throws host::UsageError that says what would be right.
crane_action_t ParseAction(std::span<const std::string> words);

// Every action with its arguments, for `help`.
std::string ListActions();

}  // namespace simulate
