// What `unit run` starts: the services of this process, then the programs "orvik" and "hx7".
#pragma once

#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "unit/children/supervisor.h"
#include "unit/program/run.h"
#include "unit/service/service.h"

namespace unit {

struct service_part_t {
  const char* name;
  std::unique_ptr<Service> (*make)(const options_t& options);
  bool usual;  // runs where the command line names no parts
};

// In the order of starting.
std::span<const service_part_t> ServiceParts();

constexpr const char* NOTIFY_PART = "notify";
constexpr const char* J1939_PART = "j1939";
constexpr const char* PANEL_PART = "panel";
constexpr const char* WINDOW_PART = "window";
constexpr const char* ORVIK_PART = "orvik";
constexpr const char* HOST_PART = "hx7";

// The names of all services and programs, in the order of starting.
const std::vector<std::string>& PartNames();
// Those that run where the command line names none.
std::set<std::string> UsualParts();

// The program hx7 with its arguments. Throws std::runtime_error when it is not beside this one.
std::vector<std::string> HostArguments(const run_plan_t& plan);

// A real bus has a real host: hx7 runs there only when the command line asks for a log or a scenario.
bool HasHost(const run_plan_t& plan);

// How the supervisor starts and stops the two programs. Both throw std::runtime_error when the program is not
// beside this one.
program_t MakeOrvikProgram(const run_plan_t& plan);
program_t MakeHostProgram(const run_plan_t& plan);

}  // namespace unit
