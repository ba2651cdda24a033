#include "unit/program/parts.h"

#include <array>
#include <chrono>
#include <csignal>

#include "unit/board/beeper_word.h"
#include "unit/board/board_service.h"
#include "unit/children/stop_signals.h"
#include "unit/database/database_service.h"
#include "unit/j1939/j1939_service.h"
#include "unit/notify/notify_service.h"
#include "unit/panel/panel_service.h"
#include "unit/program/run_folder.h"
#include "unit/screen/service/screen_service.h"
#include "unit/window/window_service.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

// The application changes to its splash page first, then waits up to five seconds for its threads.
constexpr auto ORVIK_STOP_TIME = 6s;
// The application prints this where it will not stop: it stops only on its main page and its slate page.
constexpr const char* ORVIK_REFUSAL = "NOT on terminatable page";
// The application found no manager, or was refused by it.
constexpr const char* ORVIK_CUT_OFF = "orvikData.eventChannel: -1";
constexpr const char* ORVIK_IS_UP = "Orvik: System Up";
constexpr auto HOST_STOP_TIME = 2s;
// Of a program that crashes, in a run with an end.
constexpr unsigned TRIES = 5;

std::unique_ptr<Service> MakeWindow(const options_t& options) {
  return MakeWindowService(options, RequestStop);
}

constexpr auto SERVICES = std::to_array<service_part_t>({{NOTIFY_PART, MakeNotifyService, true},
                                                         {"database", MakeDatabaseService, true},
                                                         {"board", MakeBoardService, true},
                                                         {J1939_PART, MakeJ1939Service, true},
                                                         {"screen", MakeScreenService, true},
                                                         {PANEL_PART, MakePanelService, true},
                                                         {WINDOW_PART, MakeWindow, false}});

std::vector<std::string> CollectNames() {
  std::vector<std::string> names;
  names.reserve(SERVICES.size() + 2);
  for (const service_part_t& part : SERVICES) names.emplace_back(part.name);
  names.insert(names.end(), {ORVIK_PART, HOST_PART});
  return names;
}

unsigned TriesOf(const run_plan_t& plan) {
  return plan.tries.value_or(plan.HasEnd() ? TRIES : 0);
}

// What a run with an end tells of the host's own end would be lost if the host began again.
revival_t RevivalOfHost(const run_plan_t& plan) {
  if (plan.untilDone) return revival_t::NEVER;
  return plan.HasEnd() ? revival_t::AFTER_CRASH : revival_t::ALWAYS;
}

}  // namespace

std::vector<std::string> HostArguments(const run_plan_t& plan) {
  std::vector<std::string> arguments = {FindProgram(HOST_PART)};
  if (!plan.playFile.empty()) {
    arguments.insert(arguments.end(), {"play", plan.playFile, "--speed", plan.speed});
    if (!plan.keysFile.empty()) arguments.insert(arguments.end(), {"--keys", plan.keysFile});
    if (plan.loop) arguments.emplace_back("--loop");
    return arguments;
  }
  arguments.insert(arguments.end(), {"simulate", "--bus", plan.options.bus, "--config",
                                     plan.options.configDirectory, "--http", "127.0.0.1:0"});
  if (!plan.scenario.empty()) arguments.insert(arguments.end(), {"--scenario", plan.scenario});
  if (plan.untilDone) arguments.emplace_back("--until-done");
  return arguments;
}

std::span<const service_part_t> ServiceParts() {
  return SERVICES;
}

const std::vector<std::string>& PartNames() {
  static const std::vector<std::string> NAMES = CollectNames();
  return NAMES;
}

std::set<std::string> UsualParts() {
  std::set<std::string> parts(PartNames().begin(), PartNames().end());
  for (const service_part_t& part : SERVICES) {
    if (!part.usual) parts.erase(part.name);
  }
  return parts;
}

bool HasHost(const run_plan_t& plan) {
  if (!plan.parts.contains(HOST_PART)) return false;
  return plan.options.bus == "local" || !plan.playFile.empty() || !plan.scenario.empty();
}

program_t MakeOrvikProgram(const run_plan_t& plan) {
  return {.name = ORVIK_PART,
          .arguments = {FindProgram(ORVIK_PART), plan.options.genericFile},
          .stopSignal = SIGUSR1,
          .stopTime = ORVIK_STOP_TIME,
          .told = {ORVIK_REFUSAL, ORVIK_CUT_OFF, ORVIK_IS_UP},
          .endIsFailure = true,
          .tidyUp = SilenceBeeper,
          .tries = TriesOf(plan)};
}

program_t MakeHostProgram(const run_plan_t& plan) {
  return {.name = HOST_PART,
          .arguments = HostArguments(plan),
          .stopSignal = SIGTERM,
          .stopTime = HOST_STOP_TIME,
          .told = {},
          .endIsFailure = false,
          .tidyUp = {},
          .revival = RevivalOfHost(plan),
          .tries = TriesOf(plan)};
}

}  // namespace unit
