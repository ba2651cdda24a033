// Fuzzes scenarios. A refusal names its file; times do not decrease; each action that was read can be carried
// out on a load computer, which then sends frames; front keys are 1 to 8.
#include <sstream>

#include "fuzz/fuzz_input.h"
#include "host/protocol/errors.h"
#include "host/simulate/scenario.h"

namespace {

using fuzz::Require;

constexpr const char* CHART =
    "name A\nunits metric\nconfiguration\nlengths 10.7 33.5\n3 50000 20000\n12 9000 -\n";

void CarryOut(simulate::scenario_t scenario) {
  std::istringstream chart(CHART);
  simulate::LoadComputer computer(crane::LoadChart::Parse(chart, "a.chart"), 1);
  const auto press = [](int key) { Require(key >= 1 && key <= 8); };
  simulate::ControlUnits controlUnits;
  simulate::action_target_t target{computer, controlUnits, press, [](const std::string&) {}};
  for (const auto& line : scenario.lines) line.action(target);
  for (int tick = 0; tick < 30; ++tick) {
    for (const auto& message : computer.Step()) {
      for (const bus::frame_t& frame : message) Require(frame.length <= 8);
    }
    for (const bus::frame_t& frame : controlUnits.Step(tick * 10)) Require(frame.length == 8);
  }
  simulate::ScenarioPlayer player(std::move(scenario), true);
  for (const std::int64_t now_ms : {0, 1000, 1000000000}) player.Step(now_ms, target);
  computer.State();
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  std::istringstream text(TextOf(input));
  try {
    simulate::scenario_t scenario = simulate::ParseScenario(text, "a.scenario");
    std::int64_t last_ms = 0;
    for (const auto& line : scenario.lines) Require(line.time_ms >= std::exchange(last_ms, line.time_ms));
    Require(!scenario.repeat_ms || (*scenario.repeat_ms >= last_ms && *scenario.repeat_ms > 0));
    CarryOut(std::move(scenario));
  } catch (const host::UsageError& error) {
    Require(std::string_view(error.what()).starts_with("a.scenario:"));
  }
}
