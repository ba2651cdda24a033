// Ten minutes of crane time of every scenario. Together the scenarios send every command.
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>

#include "tests/support/host_run.h"

namespace simulate {
namespace {

constexpr double TIME_S = 600;
constexpr int UNKNOWN_SUB_COMMAND = 21;

using row_t = std::map<std::string, std::size_t>;  // scenario, messages

std::string NameOf(const said_t& said) {
  if (const auto* command = said.Command()) return std::string(command->name);
  const bool unknown = said.message.size() > 1 && said.message[0] == host::EXTENDED_COMMAND &&
                       said.message[1] == UNKNOWN_SUB_COMMAND;
  return unknown ? "unknown sub-command" : "unknown command";
}

TEST(CoverageTest, EveryCommandIsSentBySomeScenario) {
  std::map<std::string, row_t> table;
  const ConfigFiles shelf(SOURCE_FOLDER "/config");
  for (const std::string& name : shelf.ScenarioNames()) {
    SCOPED_TRACE(name);
    const scenario_t scenario = shelf.NamedScenario(name);
    EXPECT_FALSE(scenario.about.empty()) << "the first line says what it shows";
    HostRun run(1, scenario);
    for (const said_t& said : run.Pass(TIME_S)) ++table[NameOf(said)][name];
  }
  std::set<std::string> wanted = {"unknown sub-command", "unknown command"};
  for (const host::command_t& command : host::Commands()) wanted.emplace(command.name);
  for (const std::string& command : wanted) {
    std::cout << std::left << std::setw(22) << command;
    for (const auto& [scenario, count] : table[command]) std::cout << ' ' << scenario << ':' << count;
    std::cout << '\n';
    EXPECT_FALSE(table[command].empty()) << command << " is sent by no scenario";
  }
}

}  // namespace
}  // namespace simulate
