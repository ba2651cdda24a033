// Reads messages into named values with their text, and says what the display will refuse in them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/protocol/protocol.h"

namespace host {

struct value_t {
  std::string name;                     // empty for the only field of a command: the command's name says it
  std::string text;                     // the value in words; a text field's bytes unchanged, not escaped
  std::string unit;                     // "lbs", "deg"; empty without a unit, and before the host has set it
  std::optional<double> number;         // for numbers that have no name in the table
  std::vector<std::string> parts = {};  // one entry for each lamp or key
  bool quoted = false;                  // the value is a text
};

struct decoded_t {
  std::string command;  // "CMD2", "CMD7.11", "reply"
  std::string name;     // "operating-values"
  std::vector<value_t> values;
  std::string problem;  // why the display refuses the message or a part of it; empty if it does not
};

// The units that the host has set last: 0 Imperial, 1 Metric; empty until the host sets them.
using known_units_t = std::optional<unsigned>;

// Reads a message of the host, with the padding of its last frame.
decoded_t ReadCommand(std::span<const std::uint8_t> message, known_units_t units);
// Reads the display's reply to `request`.
decoded_t ReadReply(const command_t& request, std::span<const std::uint8_t> message);
// A message whose command is not known: its bytes in hexadecimal.
decoded_t ShowBytes(std::span<const std::uint8_t> message, std::string problem);

}  // namespace host
