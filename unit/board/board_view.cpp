#include "unit/board/board_view.h"

#include <bit>

#include <nlohmann/json.hpp>

namespace unit {

board_view_t ViewBoard(const platform::board_state_t& board) {
  board_view_t view;
  view.sounding = std::bit_cast<float>(board.beeperValue.load()) > 0.0F;
  // The beeper is silent at first, so that every second change switches it on.
  view.pulses = (board.beeperChanges + 1) / 2;
  view.backlightEnabled = board.pwmEnabled != 0;
  view.backlightPeriod = board.pwmPeriod;
  view.backlightDuty = board.pwmDuty;
  view.backlightChanges = board.pwmChanges;
  view.backlightCommands = board.pwmCommands;
  const std::uint32_t held = platform::KeysHeld(board);
  for (std::size_t i = 0; i < view.keys.size(); ++i) view.keys.at(i) = (held >> i & 1U) != 0;
  view.outputWrites = board.outputWrites;
  view.outputRefused = board.outputRefused;
  view.pwmRefused = board.pwmRefused;
  return view;
}

std::string FormatBoard(const board_view_t& view) {
  const nlohmann::json json = {{"beeper", {{"sounding", view.sounding}, {"pulses", view.pulses}}},
                               {"backlight",
                                {{"enabled", view.backlightEnabled},
                                 {"period", view.backlightPeriod},
                                 {"duty", view.backlightDuty},
                                 {"changes", view.backlightChanges},
                                 {"commands", view.backlightCommands}}},
                               {"keys", view.keys},
                               {"counters",
                                {{"outputWrites", view.outputWrites},
                                 {"outputRefused", view.outputRefused},
                                 {"pwmRefused", view.pwmRefused}}}};
  return json.dump();
}

}  // namespace unit
