#include "platform/device_io.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/board_state.h"

namespace platform {
namespace {

constexpr std::uint16_t ROW_MASK = 0x000F;

// A range of registers. The base of its mapping is the physical address itself.
struct region_t {
  std::uintptr_t base;
  std::size_t bytes;
  bool isOnBoard;  // its registers are words of the board object
};
constexpr std::uintptr_t KEYPAD = 0x43FA'8000;
constexpr std::uintptr_t PADS = 0x43FA'C060;
constexpr std::uintptr_t COUNTER = 0x53F9'0024;
constexpr std::array<region_t, 3> REGIONS = {{{KEYPAD, 8, true}, {PADS, 16, true}, {COUNTER, 4, false}}};

constexpr std::uintptr_t KEYPAD_CONTROL = KEYPAD;
constexpr std::uintptr_t KEYPAD_STATUS = KEYPAD + 2;
constexpr std::uintptr_t KEYPAD_DIRECTION = KEYPAD + 4;
constexpr std::uintptr_t KEYPAD_DATA = KEYPAD + 6;

constexpr std::uint64_t COUNTER_HERTZ = 32'000;
constexpr std::uint64_t NANOSECONDS_PER_COUNT = 1'000'000'000 / COUNTER_HERTZ;

thread_local bool hasPrivilege = false;

std::atomic<board_state_t*> board = nullptr;

const region_t* FindRegion(std::uint64_t address, std::size_t bytes) {
  for (const region_t& region : REGIONS) {
    if (address >= region.base && bytes <= region.bytes && address - region.base <= region.bytes - bytes) {
      return &region;
    }
  }
  return nullptr;
}

// Maps the board object, and maps it again when the board service has created a new one. Old mappings stay,
// because a thread may be using one.
bool MapBoard() {
  static std::mutex mutex;
  static auto& mappings = *new std::vector<std::unique_ptr<BoardMapping>>;  // guarded by mutex
  const std::lock_guard guard(mutex);
  const board_state_t* const current = board.load(std::memory_order_acquire);
  if (current != nullptr && current->magic.load(std::memory_order_acquire) == BOARD_MAGIC) return true;
  auto mapping = std::make_unique<BoardMapping>(BoardMapping::role_t::USER);
  if (mapping->Get() == nullptr) return false;
  board.store(mapping->Get(), std::memory_order_release);
  mappings.push_back(std::move(mapping));
  return true;
}

std::uint32_t ReadCounter() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(now.tv_sec) * COUNTER_HERTZ +
                                    static_cast<std::uint64_t>(now.tv_nsec) / NANOSECONDS_PER_COUNT);
}

board_word_t* KeypadRegister(board_state_t& state, std::uintptr_t address) {
  switch (address) {
    case KEYPAD_CONTROL:
      return &state.keypadControl;
    case KEYPAD_STATUS:
      return &state.keypadStatus;
    case KEYPAD_DIRECTION:
      return &state.keypadDirection;
    case KEYPAD_DATA:
      return &state.keypadData;
    default:
      return nullptr;
  }
}

board_word_t* PadRegister(board_state_t& state, std::uintptr_t address) {
  const std::uintptr_t offset = address - PADS;
  if (address < PADS || offset % 4 != 0 || offset / 4 >= state.padControl.size()) return nullptr;
  return &state.padControl[offset / 4];
}

// An output bit reads as written; a row bit that is an input shows the keys held.
std::uint16_t ReadKeypadData(const board_state_t& state) {
  const auto direction = static_cast<std::uint16_t>(state.keypadDirection.load(std::memory_order_relaxed));
  const auto data = static_cast<std::uint16_t>(state.keypadData.load(std::memory_order_relaxed));
  const std::uint16_t rows = ReadKeypadRows(KeysHeld(state), direction, data);
  const auto inputs = static_cast<std::uint16_t>(ROW_MASK & ~direction);
  return static_cast<std::uint16_t>((data & ~inputs) | (rows & inputs));
}

}  // namespace
}  // namespace platform

int ThreadCtl(int command, void* /*data*/) {
  if (command != _NTO_TCTL_IO) {
    errno = EINVAL;
    return -1;
  }
  platform::hasPrivilege = true;
  return 0;
}

std::uintptr_t mmap_device_io(std::size_t bytes, std::uint64_t physicalAddress) {
  if (!platform::hasPrivilege) {
    errno = EPERM;
    return MAP_DEVICE_FAILED;
  }
  const platform::region_t* const region = platform::FindRegion(physicalAddress, bytes);
  if (region == nullptr || (region->isOnBoard && !platform::MapBoard())) {
    errno = ENXIO;
    return MAP_DEVICE_FAILED;
  }
  return static_cast<std::uintptr_t>(physicalAddress);
}

int munmap_device_io(std::uintptr_t base, std::size_t bytes) {
  if (platform::FindRegion(base, bytes) != nullptr) return 0;
  errno = EINVAL;
  return -1;
}

std::uint16_t in16(std::uintptr_t address) {
  platform::board_state_t* const state = platform::board.load(std::memory_order_acquire);
  if (state == nullptr) return 0xFFFF;
  if (address == platform::KEYPAD_DATA) return platform::ReadKeypadData(*state);
  const platform::board_word_t* const word = platform::KeypadRegister(*state, address);
  return word != nullptr ? static_cast<std::uint16_t>(word->load(std::memory_order_relaxed)) : 0xFFFF;
}

void out16(std::uintptr_t address, std::uint16_t value) {
  platform::board_state_t* const state = platform::board.load(std::memory_order_acquire);
  if (state == nullptr) return;
  platform::board_word_t* const word = platform::KeypadRegister(*state, address);
  if (word != nullptr) word->store(value, std::memory_order_relaxed);
}

std::uint32_t in32(std::uintptr_t address) {
  if (address == platform::COUNTER) return platform::ReadCounter();
  platform::board_state_t* const state = platform::board.load(std::memory_order_acquire);
  if (state == nullptr) return 0xFFFF'FFFF;
  const platform::board_word_t* const word = platform::PadRegister(*state, address);
  return word != nullptr ? word->load(std::memory_order_relaxed) : 0xFFFF'FFFF;
}

void out32(std::uintptr_t address, std::uint32_t value) {
  platform::board_state_t* const state = platform::board.load(std::memory_order_acquire);
  if (state == nullptr) return;
  platform::board_word_t* const word = platform::PadRegister(*state, address);
  if (word != nullptr) word->store(value, std::memory_order_relaxed);
}
