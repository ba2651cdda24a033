// The host protocol in one table: every command and sub-command, its fields, and the display's replies.
//
// A new command is one row of COMMANDS in protocol.cpp: `hx7 send`, `watch`, the DBC file and the dissector's
// tables all read it. A new type of field needs one row in field_codecs.cpp too. A command that changes the
// screen has one row in host/shown/shown_state.cpp, so that `hx7 diff` compares it.
//
// All offsets are into the message, whose byte 0 is the command number; byte 1 of CMD7 is the sub-command.
// Numbers of more than one byte are big-endian; floats are IEEE 754 single precision. All functions are pure.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace host {

enum class field_type_t : std::uint8_t {
  U8,
  I16_BE,
  FLOAT_BE,
  // The lamp word in four bytes that are not adjacent: bits 0 to 7, 8 to 15 and 16 to 23 at the offset and in
  // the next two bytes, bits 24 to 31 five bytes after the offset, because swing takes the bytes between.
  LAMPS,
  KEY_MASKS,  // a count, then one byte for each host key
  TEXT,       // `size` bytes of ASCII, in replies
};
constexpr std::size_t FIELD_TYPES = 6;

// What a number counts. Weights and lengths are in the units that the host has set.
enum class unit_t : std::uint8_t { NONE, WEIGHT, LENGTH, DEGREES, PERCENT, TEN_MILLISECONDS };

struct unit_words_t {
  std::string_view name;  // "deg", "%", "x 10 ms"; "weight" or "length" for units that the host sets
  std::string_view help;  // for `hx7 send --list`
  std::array<std::string_view, 2> bySetting = {};  // by the value of the command `units`: "lbs", "kgs"
  constexpr bool IsSetByHost() const { return !bySetting[0].empty(); }
};
const unit_words_t& WordsOf(unit_t unit);

struct number_name_t {
  std::uint8_t number;
  std::string_view name;
};

struct field_t {
  std::string_view name;
  field_type_t type = field_type_t::U8;
  std::uint8_t offset = 0;
  std::uint8_t size = 1;  // bytes in the message
  unit_t unit = unit_t::NONE;
  double scale = 1.0;                         // value in the message = value for the person * scale
  std::string_view range = {};                // values that the display can show; hx7 sends others too
  std::span<const number_name_t> names = {};  // values that have a name
};

enum class message_layout_t : std::uint8_t {
  FIELDS,  // fields at fixed offsets
  TEXTS,   // CMD5: u16 length of the rest, then text sub-commands
  FLASH,   // CMD3: one text sub-command
};

// A reply is cut into frames like a message but has no command number: it belongs to the request before it.
struct reply_layout_t {
  std::uint8_t frames = 0;
  std::span<const field_t> fields = {};
};

struct command_t {
  std::uint8_t number = 0;
  int sub = -1;  // the sub-command of CMD7, else -1
  std::string_view name;
  std::string_view about;
  std::uint8_t leastLength = 1;  // message bytes
  message_layout_t layout = message_layout_t::FIELDS;
  std::span<const field_t> fields = {};
  reply_layout_t reply = {};  // frames 0: the display does not answer
};

constexpr std::uint8_t EXTENDED_COMMAND = 7;
constexpr int NO_SUB = -1;

std::span<const command_t> Commands();
// Null if the table has no such command.
const command_t* FindCommand(std::uint8_t number, int sub);
const command_t* FindCommand(std::string_view name);
// The command of a message, by its first bytes.
const command_t* FindCommand(std::span<const std::uint8_t> message);
const command_t& OperatingValuesCommand();
const command_t& TextsCommand();
const command_t& FlashCommand();

// The 31 text fields of CMD5; the index is the field number. "swing-text" has its suffix because an operating
// value is called "swing".
std::span<const std::string_view> TextFieldNames();
std::optional<std::uint8_t> FindTextField(std::string_view name);

// The lamps of the lamp word; the index is the bit.
std::span<const std::string_view> LampNames();

std::span<const number_name_t> HostKeyNames();
std::span<const number_name_t> KeyMaskNames();
// Empty if the number has no name.
std::string_view NameOf(std::span<const number_name_t> names, unsigned number);
std::optional<std::uint8_t> NumberOf(std::span<const number_name_t> names, std::string_view name);

// A text sub-command, one in CMD3 and a sequence in CMD5: u16 length of the rest, a byte that the display
// ignores, the field number, UTF-8.
constexpr std::size_t TEXT_HEADER = 4;
constexpr std::size_t TEXT_LENGTH_BYTES = 2;
constexpr std::size_t TEXT_FIELD_AT = 3;
constexpr std::size_t LEAST_TEXT_LENGTH = 3;  // the ignored byte, the field number and one character
// CMD5: the sub-commands follow the command number and the length.
constexpr std::size_t TEXTS_BEGIN = 3;
constexpr std::size_t LEAST_TEXTS_LENGTH = 5;  // one sub-command with its length

}  // namespace host
