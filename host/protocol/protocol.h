// The host protocol in one table: every command and sub-command, its fields, and the display's replies.
//
// The encoder, the decoder, the command line and the tests read this table; nothing else knows a command's
// layout. All offsets are into the message, whose byte 0 is the command number (byte 1 of CMD7 the
// sub-command). Numbers of more than one byte are big-endian; floats are IEEE 754 single precision. All
// functions are pure.
#pragma once

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
  // The lamp word, scattered over five bytes: bits 0 to 7, 8 to 15 and 16 to 23 at the offset and the two bytes
  // behind it, bits 24 to 31 three bytes further, because swing stands in between.
  LAMPS,
  KEY_MASKS,  // a count, then one byte a host key
  TEXT,       // `size` bytes of ASCII, in replies
};

// What a number counts. Weights and lengths are in the units that the host has set.
enum class unit_t : std::uint8_t { NONE, WEIGHT, LENGTH, DEGREES, PERCENT, TEN_MILLISECONDS };

// "weight", "length", "deg", "%", "x 10 ms"; empty for none.
const char* UnitName(unit_t unit);

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
  double scale = 1.0;           // value in the message = named value * scale
  std::string_view range = {};  // what the display shows or knows; other values are sent all the same
  std::span<const number_name_t> names = {};  // values with a name
};

enum class message_layout_t : std::uint8_t {
  FIELDS,  // fields at fixed offsets
  TEXTS,   // CMD5: u16 length of what follows, then text sub-commands
  FLASH,   // CMD3: one text sub-command
};

// A reply has the frames' layout of a message but no command number: it belongs to the request before it.
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
  reply_layout_t reply = {};  // frames 0: the display answers nothing
};

constexpr std::uint8_t EXTENDED_COMMAND = 7;
constexpr int NO_SUB = -1;

std::span<const command_t> Commands();
// Null where the table has none.
const command_t* FindCommand(std::uint8_t number, int sub);
const command_t* FindCommand(std::string_view name);
// The command of a message, by its first bytes.
const command_t* FindCommand(std::span<const std::uint8_t> message);
const command_t& OperatingValuesCommand();
const command_t& TextsCommand();
const command_t& FlashCommand();

// The 31 text fields of CMD5; the index is the field number. "swing-text" has its suffix because the operating
// value has the shorter name.
std::span<const std::string_view> TextFieldNames();
std::optional<std::uint8_t> FindTextField(std::string_view name);

// The lamps of the lamp word; the index is the bit.
std::span<const std::string_view> LampNames();

std::span<const number_name_t> HostKeyNames();
std::span<const number_name_t> KeyMaskNames();
// Empty where the number has no name.
std::string_view NameOf(std::span<const number_name_t> names, unsigned number);
std::optional<std::uint8_t> NumberOf(std::span<const number_name_t> names, std::string_view name);

// A text sub-command (CMD3, and CMD5 one behind the other): u16 length of what follows, a byte without meaning,
// the field number, UTF-8.
constexpr std::size_t TEXT_HEADER = 4;
constexpr std::size_t TEXT_LENGTH_BYTES = 2;
constexpr std::size_t TEXT_FIELD_AT = 3;
// CMD5: sub-commands begin behind the command number and the length.
constexpr std::size_t TEXTS_BEGIN = 3;

}  // namespace host
