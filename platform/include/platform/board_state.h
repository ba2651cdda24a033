// The emulated board on Linux: registers, keys, beeper and backlight in one small shared object.
//
// The board service creates and owns the object. The application's device calls (device.h, device_io.h) read
// and write it in place of real hardware. Every word is a four-byte atomic, and any process may read any word.
// Not part of the Neutrino port.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include <sys/types.h>

namespace platform {

constexpr const char* BOARD_OBJECT_NAME = "/OrvikBoard";
constexpr std::uint32_t BOARD_MAGIC = 0x4F42'0003;

using board_word_t = std::atomic<std::uint32_t>;
static_assert(board_word_t::is_always_lock_free);

// The sources that can hold front keys. Each has its own word: a key is down while at least one source holds
// it, and a source can release only the keys that it holds.
enum class key_source_t : std::size_t { PANEL, KEY_DEVICE, WINDOW };
constexpr std::size_t KEY_SOURCES = 3;

struct board_state_t {
  board_word_t magic;  // BOARD_MAGIC once the board is up
  std::array<board_word_t, KEY_SOURCES>
      keysHeld;                // index: key_source_t; bit n-1 is set while the source holds front key n
  board_word_t keypadControl;  // the four 16-bit registers of the keypad port, as last written
  board_word_t keypadStatus;
  board_word_t keypadDirection;
  board_word_t keypadData;
  std::array<board_word_t, 4> padControl;
  board_word_t beeperValue;    // bits of the float last written to output 0x20: 1.0 sounds, 0.0 is silent
  board_word_t beeperChanges;  // number of changes of the value
  board_word_t outputWrites;   // commands accepted by /dev/io_interface
  board_word_t outputRefused;  // commands refused: wrong length or output
  board_word_t pwmEnabled;     // 1 after command 0x80040505
  board_word_t pwmPeriod;      // command 0x80040501
  board_word_t pwmDuty;        // command 0x80040503
  board_word_t pwmChanges;     // number of changes of period, duty or enable
  board_word_t pwmCommands;    // commands accepted by /dev/pwm0
  board_word_t pwmRefused;     // unknown commands or wrong lengths
};

// A mapping of the board's object; unmapped when destroyed.
class BoardMapping {
 public:
  enum class role_t { OWNER, USER };
  // OWNER creates the object, and removes it on destruction; USER maps an existing one.
  explicit BoardMapping(role_t role);
  ~BoardMapping();
  BoardMapping(const BoardMapping&) = delete;
  BoardMapping& operator=(const BoardMapping&) = delete;

  // Null when the object could not be created or does not exist.
  board_state_t* Get() const { return state_; }
  // False when the object of that name is another one or none, has been cut, or has lost its first word. True
  // when this process has no descriptor to look with. Opens the object, so it is not for the 10 ms paths.
  bool IsCurrent() const;

 private:
  struct object_t {
    dev_t device = 0;
    ino_t node = 0;
    bool operator==(const object_t&) const = default;
  };

  void Map(int object);
  void Unmap();

  board_state_t* state_ = nullptr;
  object_t object_;
  bool owner_ = false;
};

// The word of one source.
board_word_t& KeysHeldBy(board_state_t& board, key_source_t source);
// The keys that at least one source holds; bit n-1 is front key n.
std::uint32_t KeysHeld(const board_state_t& board);

// The row bits (low four, active low) of the keypad port for the keys held and the columns driven low.
std::uint16_t ReadKeypadRows(std::uint32_t keysHeld, std::uint16_t direction, std::uint16_t data);

}  // namespace platform
