#include "unit/panel/key_holder.h"

#include "unit/board/board_view.h"

namespace unit {

// Maps the board for each use, which costs little at the pace of key presses: a board service that was started
// again makes a new shared object.
platform::board_state_t* KeyHolder::Board() {
  mapping_ = std::make_unique<platform::BoardMapping>(platform::BoardMapping::role_t::USER);
  return mapping_->Get();
}

bool KeyHolder::Set(int key, bool held) {
  const std::lock_guard lock(mutex_);
  platform::board_state_t* board = Board();
  if (board == nullptr) return false;
  releases_.at(static_cast<std::size_t>(key - 1)).reset();
  SetKeyHeld(*board, platform::key_source_t::PANEL, key, held);
  return true;
}

bool KeyHolder::Press(int key, TimePoint now) {
  if (!Set(key, true)) return false;
  const std::lock_guard lock(mutex_);
  releases_.at(static_cast<std::size_t>(key - 1)) = now + PRESS;
  return true;
}

std::string KeyHolder::View() {
  const std::lock_guard lock(mutex_);
  const platform::board_state_t* board = Board();
  return board == nullptr ? std::string() : FormatBoard(ViewBoard(*board));
}

void KeyHolder::Step(TimePoint now) {
  const std::lock_guard lock(mutex_);
  for (int key = 1; key <= KEY_COUNT; ++key) {
    std::optional<TimePoint>& release = releases_.at(static_cast<std::size_t>(key - 1));
    if (!release || now < *release) continue;
    release.reset();
    if (platform::board_state_t* board = Board()) SetKeyHeld(*board, platform::key_source_t::PANEL, key, false);
  }
}

}  // namespace unit
