// The board's registers in the form that the unit's services use.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "platform/board_state.h"

#include "unit/board/keys.h"

namespace unit {

struct board_view_t {
  bool sounding = false;
  std::uint32_t pulses = 0;  // how often the beeper began to sound
  bool backlightEnabled = false;
  std::uint32_t backlightPeriod = 0, backlightDuty = 0;  // strength of the light: duty / period
  std::uint32_t backlightChanges = 0, backlightCommands = 0;
  std::array<bool, KEY_COUNT> keys{};
  std::uint32_t outputWrites = 0, outputRefused = 0, pwmRefused = 0;

  bool operator==(const board_view_t&) const = default;
};

board_view_t ViewBoard(const platform::board_state_t& board);

// {"beeper":{"sounding":false,"pulses":3},
//  "backlight":{"enabled":true,"period":100,"duty":60,"changes":1,"commands":3},
//  "keys":[false,...],"counters":{"outputWrites":9,"outputRefused":0,"pwmRefused":0}}
std::string FormatBoard(const board_view_t& view);

}  // namespace unit
