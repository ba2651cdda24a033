#include "platform/board_state.h"

#include <cstddef>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/memory/shared_object.h"
#include "platform/linux/unshared_descriptor.h"
#include "platform/shared_memory.h"

namespace platform {
namespace {

constexpr std::uint16_t ROW_MASK = 0x000F;

// The column and row of each front key in the matrix.
struct key_place_t {
  std::uint16_t column;  // bit of the data register
  std::uint16_t row;
};
constexpr std::array<key_place_t, 8> KEYS = {{
    {1U << 8U, 1U << 0U},
    {1U << 8U, 1U << 1U},
    {1U << 8U, 1U << 2U},
    {1U << 8U, 1U << 3U},
    {1U << 9U, 1U << 0U},
    {1U << 9U, 1U << 1U},
    {1U << 11U, 1U << 0U},
    {1U << 11U, 1U << 1U},
}};

board_state_t* Map(int object) {
  void* const memory = mmap(nullptr, sizeof(board_state_t), PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
  return memory != MAP_FAILED ? static_cast<board_state_t*>(memory) : nullptr;
}

board_state_t* CreateBoard() {
  const UnsharedDescriptor object =
      UnsharedDescriptor::Adopt(OpenSharedObject(BOARD_OBJECT_NAME, O_RDWR | O_CREAT | O_EXCL, 0600));
  if (!object || ftruncate(object.Get(), sizeof(board_state_t)) != 0) return nullptr;
  board_state_t* const board = Map(object.Get());
  if (board == nullptr) return nullptr;
  new (board) board_state_t{};
  board->keypadData.store(0xFFFF, std::memory_order_relaxed);
  board->magic.store(BOARD_MAGIC, std::memory_order_release);
  return board;
}

bool IsWholeBoard(int object) {
  struct stat status {};
  return fstat(object, &status) == 0 && status.st_size >= static_cast<off_t>(sizeof(board_state_t));
}

board_state_t* OpenBoard() {
  const UnsharedDescriptor object = UnsharedDescriptor::Adopt(OpenSharedObject(BOARD_OBJECT_NAME, O_RDWR, 0));
  if (!object || !IsWholeBoard(object.Get())) return nullptr;
  board_state_t* const board = Map(object.Get());
  if (board == nullptr || board->magic.load(std::memory_order_acquire) == BOARD_MAGIC) return board;
  munmap(board, sizeof *board);
  return nullptr;
}

}  // namespace

BoardMapping::BoardMapping(role_t role)
    : state_(role == role_t::OWNER ? CreateBoard() : OpenBoard()),
      owner_(role == role_t::OWNER && state_ != nullptr) {}

BoardMapping::~BoardMapping() {
  if (state_ == nullptr) return;
  if (owner_) {
    RemoveOwnSharedObject(BOARD_OBJECT_NAME);
    state_->magic.store(0, std::memory_order_release);
  }
  munmap(state_, sizeof *state_);
}

board_word_t& KeysHeldBy(board_state_t& board, key_source_t source) {
  return board.keysHeld.at(static_cast<std::size_t>(source));
}

std::uint32_t KeysHeld(const board_state_t& board) {
  std::uint32_t held = 0;
  for (const board_word_t& word : board.keysHeld) held |= word.load(std::memory_order_relaxed);
  return held;
}

std::uint16_t ReadKeypadRows(std::uint32_t keysHeld, std::uint16_t direction, std::uint16_t data) {
  const auto drivenLow = static_cast<std::uint16_t>(direction & ~data);
  std::uint16_t pulledDown = 0;
  for (std::size_t key = 0; key < KEYS.size(); ++key) {
    if (((keysHeld >> key) & 1U) != 0 && (drivenLow & KEYS[key].column) != 0) pulledDown |= KEYS[key].row;
  }
  return static_cast<std::uint16_t>(~pulledDown & ROW_MASK);
}

}  // namespace platform
