// The emulated board of the Linux side: registers, keys, beeper and backlight in one small shared object.
//
// The board service makes and owns the object; the application's device calls (device.h, device_io.h) reach it
// in the same way as they would reach the real parts. Every word is an atomic of four bytes; any process may
// read any word. Not part of the Neutrino port.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace platform {

constexpr const char* BOARD_OBJECT_NAME = "/OrvikBoard";
constexpr std::uint32_t BOARD_MAGIC = 0x4F42'0003;

using board_word_t = std::atomic<std::uint32_t>;
static_assert(board_word_t::is_always_lock_free);

// Who can hold the front keys. Each has a word of its own: a key is held while anyone holds it, and nobody's
// release lifts the finger of another.
enum class key_source_t : std::size_t { PANEL, KEY_DEVICE, WINDOW };
constexpr std::size_t KEY_SOURCES = 3;

struct board_state_t {
  board_word_t magic;                              // BOARD_MAGIC once the board is up
  std::array<board_word_t, KEY_SOURCES> keysHeld;  // by key_source_t; bit n-1 is set while it holds front key n
  board_word_t keypadControl;  // the keypad port's four registers, 16 bits each, as last written
  board_word_t keypadStatus;
  board_word_t keypadDirection;
  board_word_t keypadData;
  std::array<board_word_t, 4> padControl;
  board_word_t beeperValue;    // bits of the float last written to output 0x20: 1.0 sounds, 0.0 is silent
  board_word_t beeperChanges;  // times that the value changed
  board_word_t outputWrites;   // commands taken by /dev/io_interface
  board_word_t outputRefused;  // commands refused: wrong length or output
  board_word_t pwmEnabled;     // 1 after command 0x80040505
  board_word_t pwmPeriod;      // command 0x80040501
  board_word_t pwmDuty;        // command 0x80040503
  board_word_t pwmChanges;     // times that period, duty or enable changed
  board_word_t pwmCommands;    // commands taken by /dev/pwm0
  board_word_t pwmRefused;     // unknown commands or wrong lengths
};

// A mapping of the board's object; unmapped when destroyed.
class BoardMapping {
 public:
  enum class role_t { OWNER, USER };
  // OWNER makes the object anew (and removes it again when destroyed); USER maps an existing one.
  explicit BoardMapping(role_t role);
  ~BoardMapping();
  BoardMapping(const BoardMapping&) = delete;
  BoardMapping& operator=(const BoardMapping&) = delete;

  // Null when the object could not be made or is not there.
  board_state_t* Get() const { return state_; }

 private:
  board_state_t* state_ = nullptr;
  bool owner_ = false;
};

// The word of one source.
board_word_t& KeysHeldBy(board_state_t& board, key_source_t source);
// The keys that anyone holds; bit n-1 for front key n.
std::uint32_t KeysHeld(const board_state_t& board);

// The row bits (low four, active low) that the keypad port shows for the keys held and the columns driven low.
std::uint16_t ReadKeypadRows(std::uint32_t keysHeld, std::uint16_t direction, std::uint16_t data);

}  // namespace platform
