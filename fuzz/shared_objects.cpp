// Fuzzes the shared memory that other processes write: the parameter database and the board. Input: place,
// length and bytes, and so on. The names are those that a walk through the bytes finds; a value is read only
// from a valid slot, with its bytes; a write changes its own slot alone; the board exists only with its mark,
// and only a held key pulls a row down.
#include <cstring>
#include <map>

#include "platform/board_state.h"
#include "platform/byte_order.h"

#include "fuzz/fuzz_input.h"
#include "src/services/dbshm.h"
#include "tests/support/test_record.h"
#include "unit/database/database_owner.h"

namespace {

using namespace dbshm_layout;
using fuzz::Require;
using memory_t = std::span<std::uint8_t>;

memory_t Database() {
  return {static_cast<std::uint8_t*>(DBSHM::getMemoryPtr()), OBJECT_SIZE};
}

void Write(memory_t memory, std::size_t place, fuzz::bytes_t bytes) {
  const memory_t at = memory.subspan(std::min(place, memory.size()));
  std::copy_n(bytes.begin(), std::min(bytes.size(), at.size()), at.begin());
}

// The count of names, a slot or an entry of the name table, but never the lock: each run would wait for it.
std::size_t PlaceOf(unsigned number) {
  if (number % 3 == 0) return LAST_NAME_AT + number / 3 % 4;
  if (number % 3 == 1) return SLOTS_AT + SLOT_SIZE * (number / 3);
  return NAMES_AT + NAME_ENTRY_SIZE * (number / 3 % 128) + number / 384 % NAME_ENTRY_SIZE;
}

void CheckNames() {
  std::map<std::string, unsigned> names;
  const std::size_t last =
      std::min<std::size_t>(platform::LoadLe32(Database(), LAST_NAME_AT), NAME_ENTRIES - 1);
  std::size_t whole = 0;
  for (std::size_t i = 0; i <= last; ++i) {
    const memory_t entry = Database().subspan(NAMES_AT + NAME_ENTRY_SIZE * i, NAME_ENTRY_SIZE);
    const std::string text = fuzz::TextOf(entry).substr(4);
    const std::string name = text.substr(0, text.find('\0'));
    const unsigned handle = platform::LoadLe32(entry, 0);
    names.emplace(name, handle);  // the first entry of a name counts
    if (!name.empty() && name.size() < NAME_SIZE && handle <= LAST_HANDLE) ++whole;
  }
  DBSHM::makeParamMap();
  for (const auto& [name, handle] : names) Require(DBSHM::getHandle(name) == handle);
  Require(unit::ReadNameTable().size() == whole);
}

void CheckValue(unsigned handle) {
  double value = 1;
  const bool isRead = DBSHM::Read(handle, value) == 1;
  Require(isRead || value == 0);
  if (handle > LAST_HANDLE) {
    DBSHM::Write(handle, -2.5);
    return Require(!isRead && DBSHM::Read(handle, value) == 0);
  }
  const memory_t slot = Database().subspan(SLOTS_AT + SLOT_SIZE * handle, SLOT_SIZE);
  Require(isRead || platform::LoadLe32(slot, NEVER_EXPIRE_AT) == 0);
  Require(!isRead || std::memcmp(&value, slot.data() + VALUE_AT, sizeof value) == 0);

  const memory_t around(slot.data() - SLOT_SIZE / 2, 2 * SLOT_SIZE);
  std::vector<std::uint8_t> expected(around.begin(), around.end());
  DBSHM::Write(handle, -2.5);
  Require(DBSHM::Read(handle, value) == 1 && value == -2.5);
  DBSHM::Write(handle, 7, 1.5, 0, false);
  Require(DBSHM::Read(handle, value) == 0 && value == 0);
  std::ranges::copy(slot, expected.begin() + SLOT_SIZE / 2);
  Require(std::ranges::equal(around, expected));
}

void CheckBoard(platform::board_state_t& board, fuzz::bytes_t bytes) {
  Write({reinterpret_cast<std::uint8_t*>(&board), sizeof board}, bytes.empty() ? 0 : bytes[0] % 8U, bytes);
  const platform::BoardMapping user(platform::BoardMapping::role_t::USER);
  Require((user.Get() != nullptr) == (board.magic == platform::BOARD_MAGIC));
  const std::uint32_t held = platform::KeysHeld(board);
  const auto direction = static_cast<std::uint16_t>(board.keypadDirection);
  const unsigned rows = platform::ReadKeypadRows(held, direction, static_cast<std::uint16_t>(board.keypadData));
  Require(rows == 0xF || (rows < 0xF && (held & 0xFFU) != 0));
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  PrepareTestRuntime();
  static const platform::BoardMapping BOARD(platform::BoardMapping::role_t::OWNER);
  const std::vector<std::uint8_t> whole(Database().begin(), Database().end());
  std::vector<unsigned> handles = {0, 1, LAST_HANDLE, LAST_HANDLE + 1, 0xFFFFFFFF};
  for (InputReader reader(input); !reader.IsAtEnd();) {
    handles.push_back(reader.TakeWord());
    const bytes_t bytes = reader.Take(reader.TakeByte());
    Write(Database(), PlaceOf(handles.back()), bytes);
    CheckBoard(*BOARD.Get(), bytes);
  }
  CheckNames();
  std::ranges::for_each(handles, CheckValue);
  Write(Database(), 0, whole);
}
