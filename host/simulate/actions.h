// The actions that control the crane and its host. Scenarios, the terminal and HTTP use the same ones.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/judge/expectation.h"
#include "host/judge/judgement.h"
#include "host/load_computer/load_computer.h"
#include "host/simulate/control_units.h"

namespace simulate {

// What an action may change or call.
struct action_target_t {
  LoadComputer& computer;
  ControlUnits& controlUnits;
  std::function<void(int)> pressFrontKey;       // of the display, 1 to 8
  std::function<void(const std::string&)> say;  // prints a line for the user
  // Begins to judge what the display has to show; empty: expectations are passed over.
  std::function<void(const judge::expectation_t&, const judge::expectation_place_t&)> expect = {};
  judge::expectation_place_t place = {};  // of the action in its scenario
};
using crane_action_t = std::function<void(action_target_t&)>;

constexpr std::string_view EXPECT_ACTION = "expect";

// Splits at blanks; a word in double quotes may contain blanks. # begins a comment. In a line of EXPECT_ACTION,
// with or without a time before it, words keep their quotes, because a number and a text differ there. Throws
// host::UsageError for a quote that is not closed.
std::vector<std::string> SplitWords(std::string_view text);

// Reads an action with its arguments; `words` has at least one word. Checks everything, so that the action
// itself cannot fail. Throws host::UsageError, which says what would be right.
crane_action_t ParseAction(std::span<const std::string> words);

// Every action with its arguments, for `help`.
std::string ListActions();

}  // namespace simulate
