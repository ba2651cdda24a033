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

enum class FieldType : std::uint8_t {
  kU8,
  kI16Be,
  kFloatBe,
  // The lamp word, scattered over five bytes: bits 0 to 7, 8 to 15 and 16 to 23 at the offset and the two bytes
  // behind it, bits 24 to 31 three bytes further, because swing stands in between.
  kLamps,
  kKeyMasks,  // a count, then one byte a host key
  kText,      // `size` bytes of ASCII, in replies
};

// What a number counts. Weights and lengths are in the units that the host has set.
enum class Unit : std::uint8_t { kNone, kWeight, kLength, kDegrees, kPercent, kTenMilliseconds };

// "weight", "length", "deg", "%", "x 10 ms"; empty for none.
const char* UnitName(Unit unit);

struct number_name_t {
  std::uint8_t number;
  std::string_view name;
};

struct field_t {
  std::string_view name;
  FieldType type = FieldType::kU8;
  std::uint8_t offset = 0;
  std::uint8_t size = 1;  // bytes in the message
  Unit unit = Unit::kNone;
  double scale = 1.0;           // value in the message = named value * scale
  std::string_view range = {};  // what the display shows or knows; other values are sent all the same
  std::span<const number_name_t> names = {};  // values with a name
};

enum class Layout : std::uint8_t {
  kFields,  // fields at fixed offsets
  kTexts,   // CMD5: u16 length of what follows, then text sub-commands
  kFlash,   // CMD3: one text sub-command
};

// A reply has the frames' layout of a message but no command number: it belongs to the request before it.
struct reply_t {
  std::uint8_t frames = 0;
  std::span<const field_t> fields = {};
};

struct command_t {
  std::uint8_t number = 0;
  int sub = -1;  // the sub-command of CMD7, else -1
  std::string_view name;
  std::string_view about;
  std::uint8_t leastLength = 1;  // message bytes
  Layout layout = Layout::kFields;
  std::span<const field_t> fields = {};
  reply_t reply = {};  // frames 0: the display answers nothing
};

constexpr std::uint8_t kExtendedCommand = 7;
constexpr int kNoSub = -1;

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
constexpr std::size_t kTextHeader = 4;
constexpr std::size_t kTextLengthBytes = 2;
constexpr std::size_t kTextFieldAt = 3;
// CMD5: sub-commands begin behind the command number and the length.
constexpr std::size_t kTextsBegin = 3;

}  // namespace host
