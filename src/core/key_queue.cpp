#include "src/core/key_queue.h"

namespace {

constexpr std::uint32_t MASK = KeyQueue::CAPACITY - 1;
static_assert((KeyQueue::CAPACITY & MASK) == 0);

}  // namespace

KeyQueue::KeyQueue() {
  for (std::uint32_t i = 0; i < CAPACITY; ++i) cells_[i].turn.store(i, std::memory_order_relaxed);
}

bool KeyQueue::Push(std::uint8_t key) {
  std::uint32_t position = head_.load(std::memory_order_relaxed);
  for (;;) {
    cell_t& cell = cells_[position & MASK];
    const auto ahead = static_cast<std::int32_t>(cell.turn.load(std::memory_order_acquire) - position);
    if (ahead < 0) return false;  // the key pushed CAPACITY pushes ago is still there: full
    if (ahead > 0) {              // another producer took this position
      position = head_.load(std::memory_order_relaxed);
    } else if (head_.compare_exchange_weak(position, position + 1, std::memory_order_relaxed)) {
      cell.key = key;
      cell.turn.store(position + 1, std::memory_order_release);
      return true;
    }
  }
}

bool KeyQueue::Pop(std::uint8_t& key) {
  const std::uint32_t position = tail_.load(std::memory_order_relaxed);
  cell_t& cell = cells_[position & MASK];
  if (cell.turn.load(std::memory_order_acquire) != position + 1) return false;
  key = cell.key;
  cell.turn.store(position + CAPACITY, std::memory_order_release);
  tail_.store(position + 1, std::memory_order_relaxed);
  return true;
}
