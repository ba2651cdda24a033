// Reads the messages of the application to the screen service.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "src/screenapi/screen_messages.h"

namespace unit {

struct screen_command_t {
  std::int32_t target = 0;
  screen_operation_t operation = SCREEN_PROCESS_COMMANDS;
  std::uint32_t number = 0;             // attribute, rate, which or alternate
  std::array<std::int32_t, 2> place{};  // move
  std::array<float, 4> parts{};         // rotate (three) or colour
  std::string text;                     // may stand in an XML document, see CleanText
};

// Empty for a malformed message: too short or too long for its operation, an unknown operation, a text without
// its end, an attribute out of range, a float that is not finite.
std::optional<screen_command_t> ReadScreenMessage(std::span<const std::uint8_t> message);

}  // namespace unit
