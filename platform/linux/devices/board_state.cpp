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

UnsharedDescriptor OpenObject(int flags) {
  return UnsharedDescriptor::Adopt(OpenSharedObject(BOARD_OBJECT_NAME, flags, 0600));
}

}  // namespace

// Maps an object of full size; else leaves the mapping empty. Another process may cut the object later: the
// mapping is guarded, so that this ends no process.
void BoardMapping::Map(int object) {
  struct stat status {};
  if (fstat(object, &status) != 0 || status.st_size < static_cast<off_t>(sizeof(board_state_t))) return;
  void* const memory = mmap(nullptr, sizeof(board_state_t), PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
  if (memory == MAP_FAILED) return;
  GuardMapping(memory, sizeof(board_state_t));
  state_ = static_cast<board_state_t*>(memory);
  object_ = {status.st_dev, status.st_ino};
}

BoardMapping::BoardMapping(role_t role) : owner_(role == role_t::OWNER) {
  const UnsharedDescriptor object = OpenObject(owner_ ? O_RDWR | O_CREAT | O_EXCL : O_RDWR);
  if (!object || (owner_ && ftruncate(object.Get(), sizeof(board_state_t)) != 0)) return;
  Map(object.Get());
  if (state_ == nullptr) return;
  if (owner_) {
    new (state_) board_state_t{};
    state_->keypadData.store(0xFFFF, std::memory_order_relaxed);
    state_->magic.store(BOARD_MAGIC, std::memory_order_release);
  } else if (state_->magic.load(std::memory_order_acquire) != BOARD_MAGIC) {
    Unmap();
  }
}

BoardMapping::~BoardMapping() {
  if (state_ == nullptr) return;
  if (owner_) {
    RemoveOwnSharedObject(BOARD_OBJECT_NAME);
    state_->magic.store(0, std::memory_order_release);
  }
  Unmap();
}

void BoardMapping::Unmap() {
  ForgetMapping(state_);
  munmap(state_, sizeof *state_);
  state_ = nullptr;
}

bool BoardMapping::IsCurrent() const {
  const UnsharedDescriptor object = OpenObject(O_RDWR);
  if (!object && (errno == EMFILE || errno == ENFILE)) return state_ != nullptr;
  struct stat status {};
  return state_ != nullptr && object && fstat(object.Get(), &status) == 0 &&
         status.st_size >= static_cast<off_t>(sizeof(board_state_t)) &&
         object_ == object_t{status.st_dev, status.st_ino} &&
         state_->magic.load(std::memory_order_acquire) == BOARD_MAGIC;
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
