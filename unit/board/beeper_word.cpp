#include "unit/board/beeper_word.h"

#include <bit>

#include "platform/board_state.h"

namespace unit {

void SilenceBeeper() {
  const platform::BoardMapping board(platform::BoardMapping::role_t::USER);
  if (board.Get() == nullptr) return;
  constexpr auto SILENT = std::bit_cast<std::uint32_t>(0.0F);
  if (board.Get()->beeperValue.exchange(SILENT) != SILENT) ++board.Get()->beeperChanges;
}

}  // namespace unit
