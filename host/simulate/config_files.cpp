#include "host/simulate/config_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "base/installation.h"
#include "base/nearest_word.h"
#include "host/protocol/errors.h"
#include "host/protocol/value_text.h"

namespace simulate {
namespace {

namespace fs = std::filesystem;

constexpr const char* SCENARIOS = "scenarios";
constexpr const char* SUFFIX = ".scenario";
constexpr const char* STANDARD_CHART = "charts/standard.chart";

std::string RequireConfigFolder(const std::string& given) {
  try {
    return base::FindConfigFolder(given);
  } catch (const std::runtime_error& error) {
    throw host::UsageError(error.what());
  }
}

}  // namespace

ConfigFiles::ConfigFiles(const std::string& config) : folder_(RequireConfigFolder(config)) {
  if (!fs::is_directory(fs::path(folder_) / SCENARIOS)) {
    throw host::UsageError("there are no scenarios in " + folder_ + "; name the configuration with --config DIR");
  }
}

std::vector<std::string> ConfigFiles::ScenarioNames() const {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(folder_) / SCENARIOS)) {
    if (entry.path().extension() == SUFFIX) names.push_back(entry.path().stem());
  }
  std::ranges::sort(names);
  return names;
}

scenario_t ConfigFiles::NamedScenario(const std::string& name) const {
  const std::vector<std::string> names = ScenarioNames();
  if (std::ranges::find(names, name) != names.end()) {
    return ReadScenario(fs::path(folder_) / SCENARIOS / (name + SUFFIX));
  }
  const std::vector<std::string_view> candidates(names.begin(), names.end());
  const std::string suggestion = base::Suggest(name, candidates);
  throw host::UsageError("there is no scenario \"" + name + "\"" +
                         (suggestion.empty() ? "; " : suggestion + " ") + "`hx7 simulate --list` shows all");
}

scenario_t ConfigFiles::Scenario(const std::string& nameOrFile) const {
  const bool isFile = nameOrFile.find_first_of("/.") != std::string::npos;
  return isFile ? ReadScenario(nameOrFile) : NamedScenario(nameOrFile);
}

crane::LoadChart ConfigFiles::Chart(const std::string& file) const {
  const std::string path = file.empty() ? (fs::path(folder_) / STANDARD_CHART).string() : file;
  std::ifstream in(path);
  if (!in) throw host::UsageError("cannot read the load chart " + path + "; check its name and its rights");
  try {
    return crane::LoadChart::Parse(in, path);
  } catch (const crane::ChartError& error) {
    throw host::UsageError(error.what());
  }
}

}  // namespace simulate
