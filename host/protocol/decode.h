// Puts messages into words: which command, which values, and what is wrong with them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/protocol/protocol.h"

namespace host {

struct value_t {
  std::string name;                     // empty where the command's name says it all
  std::string text;                     // in words; text fields as they came, unescaped
  std::string unit;                     // "lbs", "deg"; empty for none, and where the units are not known yet
  std::optional<double> number;         // where the value is a number without a name
  std::vector<std::string> parts = {};  // lamps and keys, one by one
  bool quoted = false;                  // a text
};

struct decoded_t {
  std::string command;  // "CMD2", "CMD7.11", "reply"
  std::string name;     // "operating-values"
  std::vector<value_t> values;
  std::string problem;  // what the display will not like about it; empty where all is well
};

// Units that the host has set: 0 Imperial, 1 Metric; empty until it has.
using known_units_t = std::optional<unsigned>;

// A message of the host, with the padding of its last frame.
decoded_t ReadCommand(std::span<const std::uint8_t> message, known_units_t units);
// A message of the display that answers `request`.
decoded_t ReadReply(const command_t& request, std::span<const std::uint8_t> message);
// A message that nothing is known of: its bytes in hexadecimal.
decoded_t ShowBytes(std::span<const std::uint8_t> message, std::string problem);

}  // namespace host
