// A scenario: a list of actions with their times, as plain text with one action on each line:
//
//   # Up, out and round.                 a comment; `hx7 simulate --list` shows the first one
//   speed 4                              before all others: the greatest speed at which its expectations hold
//   0    base extended                   seconds from the beginning of the scenario
//   2.5  boom angle 60
//   +10  load 5000                       seconds after the line before
//   12   expect lamp overload within 1   what the display has to show; host/judge/expectation.h
//   90   repeat                          begins again; the crane stays as it is
//
// Times must not decrease. Without `repeat` the host continues in the state after the last line.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "host/simulate/actions.h"

namespace simulate {

struct scenario_t {
  struct timed_action_t {
    std::int64_t time_ms;
    std::size_t number;  // of its line in the file
    crane_action_t action;
  };
  std::string file;
  std::string name;
  std::string about;
  std::vector<timed_action_t> lines;
  std::optional<std::int64_t> repeat_ms;
  double speed = 1;
  std::size_t expectations = 0;

  // The time of the last line, without `repeat`.
  std::int64_t Length_ms() const { return lines.empty() ? 0 : lines.back().time_ms; }
};

// Reads a scenario. Throws host::UsageError: "FILE:LINE: what is wrong".
scenario_t ParseScenario(std::istream& in, const std::string& file);
// Reads a scenario file. Throws host::UsageError too, if the file cannot be read.
scenario_t ReadScenario(const std::string& path);

// Runs a scenario.
class ScenarioPlayer {
 public:
  // Begins at `begin_ms` of the crane's time. `loop` repeats a scenario without `repeat` five seconds after its
  // last line.
  ScenarioPlayer(scenario_t scenario, bool loop, std::int64_t begin_ms = 0);
  // Runs the actions that are due at this time of the crane. Call it before the load computer's step.
  void Step(std::int64_t now_ms, action_target_t& target);
  // Once through the scenario, also where it repeats.
  void PlayOnce();
  // The last line has been run, and no line follows.
  bool HasEnded() const { return !scenario_.repeat_ms && next_ == scenario_.lines.size(); }
  const scenario_t& Scenario() const { return scenario_; }

 private:
  scenario_t scenario_;
  std::int64_t begin_ms_;
  std::size_t next_ = 0;
};

}  // namespace simulate
