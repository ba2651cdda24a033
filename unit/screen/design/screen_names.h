// The names and numbers of the generic configuration that the screen service uses.
#pragma once

#include <array>
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

}  // namespace unit
