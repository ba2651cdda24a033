// The front keys of the emulated board.
#pragma once

#include <cstdint>

#include "platform/board_state.h"

namespace unit {

constexpr int KEY_COUNT = 8;

constexpr bool IsKey(int key) {
  return key >= 1 && key <= KEY_COUNT;
}

// Holds or releases key 1 to 8; others are ignored. Any thread, any process that maps the board.
void SetKeyHeld(platform::board_state_t& board, int key, bool held);

}  // namespace unit
