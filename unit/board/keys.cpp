#include "unit/board/keys.h"

namespace unit {

void SetKeyHeld(platform::board_state_t& board, platform::key_source_t source, int key, bool held) {
  if (!IsKey(key)) return;
  platform::board_word_t& word = platform::KeysHeldBy(board, source);
  if (held) {
    word.fetch_or(KeyBit(key));
  } else {
    word.fetch_and(~KeyBit(key));
  }
}

}  // namespace unit
