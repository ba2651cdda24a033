// Reads scenarios and load charts from the configuration's folders `scenarios` and `charts`.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/crane/load_chart.h"
#include "host/simulate/scenario.h"

namespace simulate {

constexpr std::string_view USUAL_SCENARIO = "normal-lift";

class ConfigFiles {
 public:
  // Uses the folder that base::FindConfigFolder finds. Throws host::UsageError if it has no scenarios.
  explicit ConfigFiles(const std::string& config);

  std::vector<std::string> ScenarioNames() const;
  // Reads the scenario of a name from ScenarioNames. Throws host::UsageError, which suggests the nearest name.
  scenario_t NamedScenario(const std::string& name) const;
  // The same by name, or by file if the text has a slash or a dot.
  scenario_t Scenario(const std::string& nameOrFile) const;
  // Reads a chart file; empty: the standard chart. Throws host::UsageError if the file cannot be
  // read or has a mistake.
  crane::LoadChart Chart(const std::string& file) const;

 private:
  std::string folder_;
};

}  // namespace simulate
