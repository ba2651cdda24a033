#include "board/keys.h"

namespace unit {

void SetKeyHeld(platform::board_state_t& board, int key, bool held) {
  if (!IsKey(key)) return;
  const std::uint32_t bit = 1U << static_cast<unsigned>(key - 1);
  if (held) {
    board.keysHeld.fetch_or(bit);
  } else {
    board.keysHeld.fetch_and(~bit);
  }
}

}  // namespace unit
