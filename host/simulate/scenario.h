// A scenario: what happens to crane and host, each at its time. Plain text, one action a line:
//
//   # Up, out and round.                 a comment; the first one is what `hx7 simulate --list` shows
//   0    base extended                   seconds from the scenario's begin
//   2.5  boom angle 60
//   +10  load 5000                       seconds after the line before
//   90   repeat                          begins again; the crane stays as it is
//
// Times never go back. Without `repeat` the host goes on as things stand after the last line.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "host/simulate/actions.h"

namespace simulate {

struct scenario_t {
  struct line_t {
    std::int64_t time_ms;
    crane_action_t action;
  };
  std::string name;
  std::string about;
  std::vector<line_t> lines;
  std::optional<std::int64_t> repeat_ms;
};

// Throws host::UsageError: "FILE:LINE: what is wrong".
scenario_t ParseScenario(std::istream& in, const std::string& file);
// Reads a file. Throws also where there is none.
scenario_t LoadScenario(const std::string& path);

// A scenario on its way.
class ScenarioPlayer {
 public:
  // Begins at this time of the crane. `loop` repeats one that does not by itself, a while after its last line.
  ScenarioPlayer(scenario_t scenario, bool loop, std::int64_t begin_ms = 0);
  // Carries out what is due at this time of the crane, before the load computer's step.
  void Step(std::int64_t now_ms, action_target_t& target);
  const scenario_t& Scenario() const { return scenario_; }

 private:
  scenario_t scenario_;
  std::int64_t begin_ms_;
  std::size_t next_ = 0;
};

}  // namespace simulate
