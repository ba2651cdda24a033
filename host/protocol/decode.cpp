#include "host/protocol/decode.h"

#include <algorithm>
#include <array>

#include "platform/byte_order.h"

#include "host/protocol/encode.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t LEAST_TEXT_LENGTH = 3;   // of a text sub-command: a byte, the field and one character
constexpr std::size_t LEAST_TEXTS_LENGTH = 5;  // of CMD5: one such sub-command with its length

std::string ValueUnit(unit_t unit, known_units_t units) {
  constexpr std::array<const char*, 2> WEIGHTS = {"lbs", "kgs"};
  constexpr std::array<const char*, 2> LENGTHS = {"feet", "meters"};
  switch (unit) {
    case unit_t::WEIGHT:
      return units && *units < WEIGHTS.size() ? WEIGHTS[*units] : "";
    case unit_t::LENGTH:
      return units && *units < LENGTHS.size() ? LENGTHS[*units] : "";
    default:
      return UnitName(unit);
  }
}

std::string Characters(Bytes bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string Hex(Bytes bytes) {
  constexpr std::string_view DIGITS = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text.append(text.empty() ? "" : " ").append(1, DIGITS[byte >> 4U]).append(1, DIGITS[byte & 0xFU]);
  }
  return text;
}

std::vector<std::string> SplitWords(const std::string& text) {
  std::vector<std::string> words;
  for (const std::string_view word : SplitAt(text, ' ')) words.emplace_back(word);
  return words;
}

value_t DecodeKeyMasks(const field_t& field, Bytes message) {
  const std::size_t begin = field.offset + 1U;
  const std::size_t count = std::min<std::size_t>(message[field.offset], message.size() - begin);
  const std::string text = FormatKeyMasks(message.subspan(begin, count));
  return {.name = std::string(field.name), .text = text, .unit = {}, .number = {}, .parts = SplitWords(text)};
}

value_t DecodeNumber(const field_t& field, Bytes message, known_units_t units) {
  const double number = ReadNumber(field, message);
  value_t value{.name = std::string(field.name), .text = FormatValue(field, number), .unit = {}, .number = {}};
  if (field.type == field_type_t::LAMPS) {
    value.parts = ListLamps(static_cast<std::uint32_t>(number));
  } else if (field.type == field_type_t::FLOAT_BE ||
             NameOf(field.names, static_cast<unsigned>(number)).empty()) {
    value.number = number;
    value.unit = ValueUnit(field.unit, units);
  }
  return value;
}

value_t DecodeField(const field_t& field, Bytes message, known_units_t units) {
  if (field.type == field_type_t::KEY_MASKS) return DecodeKeyMasks(field, message);
  if (field.type != field_type_t::TEXT) return DecodeNumber(field, message, units);
  const std::string text = Characters(message.subspan(field.offset, field.size));
  return {.name = std::string(field.name), .text = text, .unit = {}, .number = {}, .parts = {}, .quoted = true};
}

void DecodeFields(std::span<const field_t> fields, Bytes message, known_units_t units, decoded_t& decoded) {
  for (const field_t& field : fields) decoded.values.push_back(DecodeField(field, message, units));
  if (fields.size() == 1) decoded.values[0].name.clear();
}

// One text sub-command at the head of `rest`, which is advanced past it. False where the display stops as well.
bool DecodeText(Bytes& rest, decoded_t& decoded) {
  const std::size_t length = rest.size() < TEXT_HEADER ? 0 : platform::LoadBe16(rest, 0);
  if (length < LEAST_TEXT_LENGTH || length + TEXT_LENGTH_BYTES > rest.size()) {
    decoded.problem = "a text's length is " + std::to_string(length) + ", with " + std::to_string(rest.size()) +
                      " bytes left";
    return false;
  }
  const std::uint8_t field = rest[TEXT_FIELD_AT];
  const auto names = TextFieldNames();
  const bool known = field < names.size();
  if (!known) decoded.problem = "there is no text field " + std::to_string(field);
  decoded.values.push_back(
      {.name = known ? std::string(names[field]) : "field-" + std::to_string(field),
       .text = Characters(rest.subspan(TEXT_HEADER, length + TEXT_LENGTH_BYTES - TEXT_HEADER)),
       .unit = {},
       .number = {},
       .parts = {},
       .quoted = true});
  rest = rest.subspan(length + TEXT_LENGTH_BYTES);
  return true;
}

void DecodeTexts(Bytes message, decoded_t& decoded) {
  const std::size_t length = platform::LoadBe16(message, 1);
  Bytes rest = message.subspan(TEXTS_BEGIN);
  if (length < LEAST_TEXTS_LENGTH || length > rest.size()) {
    decoded.problem =
        "the length is " + std::to_string(length) + ", with " + std::to_string(rest.size()) + " bytes left";
    return;
  }
  rest = rest.first(length);
  while (!rest.empty() && DecodeText(rest, decoded)) {
  }
}

void DecodeFlash(Bytes message, decoded_t& decoded) {
  Bytes rest = message.subspan(1);
  if (!DecodeText(rest, decoded)) return;
  decoded.problem.clear();  // this text has no field: the byte in its place means nothing
  decoded.values.back().name.clear();
}

}  // namespace

decoded_t ShowBytes(Bytes message, std::string problem) {
  decoded_t decoded{.command = "?", .name = "unknown", .values = {}, .problem = std::move(problem)};
  decoded.values.push_back({.name = "bytes", .text = Hex(message), .unit = {}, .number = {}});
  return decoded;
}

decoded_t ReadCommand(Bytes message, known_units_t units) {
  const command_t* command = FindCommand(message);
  if (command == nullptr) return ShowBytes(message, "the display knows no such command");
  decoded_t decoded{.command = "CMD" + std::to_string(command->number),
                    .name = std::string(command->name),
                    .values = {},
                    .problem = {}};
  if (command->sub != NO_SUB) decoded.command += "." + std::to_string(command->sub);
  if (message.size() < command->leastLength) {
    decoded.problem =
        std::to_string(message.size()) + " bytes came, " + std::to_string(command->leastLength) + " are needed";
  } else if (command->layout == message_layout_t::TEXTS) {
    DecodeTexts(message, decoded);
  } else if (command->layout == message_layout_t::FLASH) {
    DecodeFlash(message, decoded);
  } else {
    DecodeFields(command->fields, message, units, decoded);
  }
  return decoded;
}

decoded_t ReadReply(const command_t& request, Bytes message) {
  decoded_t decoded{.command = "reply", .name = std::string(request.name), .values = {}, .problem = {}};
  DecodeFields(request.reply.fields, message, {}, decoded);
  return decoded;
}

}  // namespace host
