// The names and numbers of the generic configuration that the screen service uses, and the names of the
// variables that it sets itself.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace unit {

struct screen_names_t {
  std::string actionChannel, eventChannel;
  std::map<std::string, std::uint32_t> actions;  // name to number
  std::map<std::uint32_t, std::string> events;   // number to name
  std::map<std::int32_t, std::string> widgets;   // handle to name
  std::map<std::string, std::string> variables;  // name to the name of the database's parameter
};

// Throws std::runtime_error with the file's name when the file cannot be read.
screen_names_t ReadScreenNames(const std::string& genericFile);

// The message of the action channel: the number of the channel, then the number of the action, 32 bits each,
// little-endian.
std::array<std::uint8_t, 8> ActionMessage(int channel, std::uint32_t action);

std::set<std::string> WidgetNames(const screen_names_t& names);

// --- The variables that the screen service sets itself; all others come from the database.

constexpr const char* DATA_STATE_VARIABLE = "Screen.DataState";
enum data_state_t : int {
  DATA_CURRENT = 1,
  DATA_LINK_LOST = 2,
  DATA_PROGRAM_SILENT = 3,
  DATA_HOST_NOT_HEARD = 4,  // since the application started, or because the bus is not received
  DATA_VALUES_OLD = 5,      // the host is heard, but its operating values are not known to be the newest
};

constexpr const char* FAULT_STATE_VARIABLE = "Faults.State";
enum fault_state_t : int { FAULTS_NOT_HEARD = 0, FAULTS_NONE = 1, FAULTS_ACTIVE = 2 };
constexpr const char* FAULT_NUMBER_VARIABLE = "Faults.Number";  // of all active codes, also those not shown
// 1: lit. In the order of fault_lamp_t.
constexpr std::array<const char*, 4> FAULT_LAMP_VARIABLES{"Faults.Malfunction", "Faults.Stop", "Faults.Warning",
                                                          "Faults.Protect"};

// The first active codes have variables of their own: "Fault1.Source" is the address of the first code's
// control unit.
constexpr std::size_t FAULT_LINES = 4;
constexpr const char* FAULT_SOURCE = "Source";
constexpr const char* FAULT_SPN = "Spn";
constexpr const char* FAULT_FMI = "Fmi";
constexpr const char* FAULT_COUNT = "Count";
// `line` counts from 0.
std::string FaultVariable(std::size_t line, const char* part);

bool IsOwnVariable(const std::string& name);

}  // namespace unit
