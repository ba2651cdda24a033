#include "base/command_line/command_description.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace base {
namespace {

using nlohmann::json;

json Describe(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  if (names.empty()) names.push_back(option.get_name());
  return {{"names", names},
          {"about", option.get_description()},
          {"type", option.get_type_name()},
          {"default", option.get_default_str()},
          {"required", option.get_required()},
          {"isFlag", option.get_items_expected_max() == 0}};
}

json Describe(const CLI::App& app) {
  json described = {{"name", app.get_name()},   {"about", app.get_description()}, {"footer", app.get_footer()},
                    {"options", json::array()}, {"arguments", json::array()},     {"commands", json::array()}};
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    described[option->nonpositional() ? "options" : "arguments"].push_back(Describe(*option));
  }
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    described["commands"].push_back(Describe(*command));
  }
  return described;
}

}  // namespace

std::string DescribeCommands(const CLI::App& app) {
  return Describe(app).dump(2);
}

}  // namespace base
