#include "unit/board/board_watch.h"

#include <utility>

namespace unit {

using platform::BoardMapping;

BoardWatch::BoardWatch() : board_(std::make_unique<BoardMapping>(BoardMapping::role_t::USER)) {}

bool BoardWatch::WasReplaced() {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextLook_) return false;
  nextLook_ = now + LOOK_PERIOD;
  if (board_->IsCurrent()) return false;
  auto board = std::make_unique<BoardMapping>(BoardMapping::role_t::USER);
  if (board->Get() == nullptr) return false;
  board_ = std::move(board);
  return true;
}

}  // namespace unit
