// Every scenario through ten minutes of the crane, and what all of them send together.
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>

#include "tests/unit/simulate/host_run.h"

namespace simulate {
namespace {

constexpr double kTime_s = 600;
constexpr int kUnknownSubCommand = 21;

using row_t = std::map<std::string, std::size_t>;  // scenario, messages

std::string NameOf(const said_t& said) {
  if (const auto* command = said.Command()) return std::string(command->name);
  const bool unknown = said.message.size() > 1 && said.message[0] == host::kExtendedCommand &&
                       said.message[1] == kUnknownSubCommand;
  return unknown ? "unknown sub-command" : "unknown command";
}

TEST(Coverage, EveryCommandIsSentBySomeScenario) {
  std::map<std::string, row_t> table;
  const Shelf shelf(CONFIG);
  for (const std::string& name : shelf.ScenarioNames()) {
    SCOPED_TRACE(name);
    const scenario_t scenario = shelf.NamedScenario(name);
    EXPECT_FALSE(scenario.about.empty()) << "the first line says what it shows";
    HostRun run(1, scenario);
    for (const said_t& said : run.Pass(kTime_s)) ++table[NameOf(said)][name];
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

// What is different after a key from the same host without it.
std::set<std::string> AnswerTo(const host::number_name_t& key) {
  HostRun pressed;
  HostRun left;
  pressed.Pass(3);
  left.Pass(3);
  pressed.Do("key " + std::string(key.name));
  const auto with = pressed.Pass(1);
  const auto without = left.Pass(1);
  std::set<std::string> answer;
  for (const said_t& said : with) {
    const bool same =
        std::ranges::any_of(without, [&](const said_t& other) { return other.message == said.message; });
    if (!same) answer.insert(NameOf(said));
  }
  return answer;
}

TEST(Coverage, EveryHostKeyIsAnswered) {
  for (const host::number_name_t& key : host::HostKeyNames().subspan(1)) {
    const auto answer = AnswerTo(key);
    std::cout << std::left << std::setw(3) << int{key.number} << std::setw(20) << key.name;
    for (const std::string& command : answer) std::cout << ' ' << command;
    std::cout << '\n';
    EXPECT_FALSE(answer.empty()) << key.name;
    const auto reactions = Dialogue::Reactions();
    EXPECT_NE(std::ranges::find(reactions, key.number, &Dialogue::reaction_t::key), reactions.end());
  }
}

TEST(Determinism, TheSameSeedPutsTheSameBytesOnTheBus) {
  const Shelf shelf(CONFIG);
  for (const char* name : {"normal-lift", "every-key", "host-restart"}) {
    HostRun one(7, shelf.NamedScenario(name));
    HostRun two(7, shelf.NamedScenario(name));
    HostRun other(8, shelf.NamedScenario(name));
    const bus::frame_t reply{.identifier = 0x18FF00D2, .length = 8, .data = {0, 1, 0, 0, 18, 255, 255, 255}};
    one.Pass(kTime_s);
    for (int part = 0; part < kTime_s; ++part) {
      two.computer.Hear(reply);  // a display that answers, and presses nothing
      two.Pass(1);
    }
    other.Pass(kTime_s);
    EXPECT_TRUE(one.Bytes() == two.Bytes()) << name;
    EXPECT_FALSE(one.Bytes() == other.Bytes()) << name;
    EXPECT_GT(one.Bytes().size(), 300'000U);
  }
  HostRun left;
  HostRun pressed;
  left.Pass(3);
  pressed.Pass(3);
  pressed.computer.Hear({.identifier = 0x18FF00D2, .length = 8, .data = {0, 1, 255, 18, 18, 255, 255, 255}});
  left.Pass(1);
  pressed.Pass(1);
  EXPECT_FALSE(left.Bytes() == pressed.Bytes()) << "a key steers";
}

}  // namespace
}  // namespace simulate
