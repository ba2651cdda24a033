// The front keys of the emulated board.
#pragma once

#include <cstdint>

#include "platform/board_state.h"

namespace unit {

constexpr int KEY_COUNT = 8;

constexpr bool IsKey(int key) {
  return key >= 1 && key <= KEY_COUNT;
}

// Bit of key 1 to 8 in a word of held keys.
constexpr std::uint32_t KeyBit(int key) {
  return 1U << static_cast<unsigned>(key - 1);
}

// Makes a source hold or release keys (KeyBit), all of them at once: a scan sees all or none. Any thread of any
// process that maps the board.
void SetKeysHeld(platform::board_state_t& board, platform::key_source_t source, std::uint32_t keys, bool held);
// The same for key 1 to 8; ignores other numbers.
void SetKeyHeld(platform::board_state_t& board, platform::key_source_t source, int key, bool held);

}  // namespace unit
