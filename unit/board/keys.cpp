#include "unit/board/keys.h"

namespace unit {

void SetKeysHeld(platform::board_state_t& board, platform::key_source_t source, std::uint32_t keys, bool held) {
  platform::board_word_t& word = platform::KeysHeldBy(board, source);
  if (held) {
    word.fetch_or(keys);
  } else {
    word.fetch_and(~keys);
  }
}

void SetKeyHeld(platform::board_state_t& board, platform::key_source_t source, int key, bool held) {
  if (IsKey(key)) SetKeysHeld(board, source, KeyBit(key), held);
}

}  // namespace unit
