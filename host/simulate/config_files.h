// Where scenarios and load charts lie: in the configuration's folders `scenarios` and `charts`.
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
  // The folder is the one that base::FindConfigFolder finds. Throws host::failure where there are no scenarios.
  explicit ConfigFiles(const std::string& config);

  std::vector<std::string> ScenarioNames() const;
  // By a name of the above. Throws host::UsageError, with the nearest name.
  scenario_t NamedScenario(const std::string& name) const;
  // By a name or, where it has a slash or a dot, by its file.
  scenario_t Scenario(const std::string& nameOrFile) const;
  // A file; empty: the standard chart. Throws host::failure, and host::UsageError for a mistake in it.
  crane::LoadChart Chart(const std::string& file) const;

 private:
  std::string folder_;
};

}  // namespace simulate
