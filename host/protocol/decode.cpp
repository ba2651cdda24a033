#include "host/protocol/decode.h"

#include <algorithm>

#include "platform/byte_order.h"

#include "host/protocol/field_codecs.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

using Bytes = std::span<const std::uint8_t>;

std::string ValueUnit(unit_t unit, known_units_t units) {
  const unit_words_t& words = WordsOf(unit);
  if (!words.IsSetByHost()) return std::string(words.name);
  return units && *units < words.bySetting.size() ? std::string(words.bySetting[*units]) : "";
}

std::string Characters(Bytes bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string FormatHex(Bytes bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += (text.empty() ? "" : " ") + HexByte(byte);
  return text;
}

std::vector<std::string> SplitParts(const std::string& text) {
  std::vector<std::string> words;
  for (const std::string_view word : SplitAt(text, ' ')) words.emplace_back(word);
  return words;
}

value_t ReadKeyMasks(const field_t& field, Bytes message) {
  const std::size_t begin = field.offset + 1U;
  const std::size_t count = std::min<std::size_t>(message[field.offset], message.size() - begin);
  const std::string text = FormatKeyMasks(message.subspan(begin, count));
  return {.name = std::string(field.name), .text = text, .unit = {}, .number = {}, .parts = SplitParts(text)};
}

value_t ReadNumberValue(const field_t& field, Bytes message, known_units_t units) {
  const double number = ReadNumber(field, message);
  value_t value{.name = std::string(field.name), .text = FormatValue(field, number), .unit = {}, .number = {}};
  if (field.type == field_type_t::LAMPS) {
    value.parts = ListLamps(static_cast<std::uint32_t>(number));
  } else if (field.type == field_type_t::FLOAT_BE || number < 0 ||
             NameOf(field.names, static_cast<unsigned>(number)).empty()) {
    value.number = number;
    value.unit = ValueUnit(field.unit, units);
  }
  return value;
}

value_t ReadField(const field_t& field, Bytes message, known_units_t units) {
  if (field.type == field_type_t::KEY_MASKS) return ReadKeyMasks(field, message);
  if (field.type != field_type_t::TEXT) return ReadNumberValue(field, message, units);
  const std::string text = Characters(message.subspan(field.offset, field.size));
  return {.name = std::string(field.name), .text = text, .unit = {}, .number = {}, .parts = {}, .quoted = true};
}

void ReadFields(std::span<const field_t> fields, Bytes message, known_units_t units, decoded_t& decoded) {
  for (const field_t& field : fields) decoded.values.push_back(ReadField(field, message, units));
  if (fields.size() == 1) decoded.values[0].name.clear();
}

std::string BytesLeft(std::size_t length, std::size_t left) {
  return "length is " + std::to_string(length) + ", with " + std::to_string(left) + " bytes left";
}

value_t ReadFieldText(std::uint8_t field, Bytes letters) {
  const auto names = TextFieldNames();
  const bool known = field < names.size();
  return {.name = known ? std::string(names[field]) : "field-" + std::to_string(field),
          .text = Characters(letters),
          .unit = {},
          .number = {},
          .parts = {},
          .quoted = true};
}

// Reads the text sub-command at the head of `rest` and moves `rest` behind it. Returns false where the display
// stops reading too.
bool ReadTextCommand(Bytes& rest, decoded_t& decoded) {
  const std::size_t length = rest.size() < TEXT_HEADER ? 0 : platform::LoadBe16(rest, 0);
  if (length < LEAST_TEXT_LENGTH || length + TEXT_LENGTH_BYTES > rest.size()) {
    decoded.problem = "a text's " + BytesLeft(length, rest.size());
    return false;
  }
  const std::uint8_t field = rest[TEXT_FIELD_AT];
  if (field >= TextFieldNames().size()) decoded.problem = "there is no text field " + std::to_string(field);
  const Bytes letters = rest.subspan(TEXT_HEADER, length + TEXT_LENGTH_BYTES - TEXT_HEADER);
  decoded.values.push_back(ReadFieldText(field, letters));
  rest = rest.subspan(length + TEXT_LENGTH_BYTES);
  return true;
}

void ReadTexts(Bytes message, decoded_t& decoded) {
  const std::size_t length = platform::LoadBe16(message, 1);
  Bytes rest = message.subspan(TEXTS_BEGIN);
  if (length < LEAST_TEXTS_LENGTH || length > rest.size()) {
    decoded.problem = "the " + BytesLeft(length, rest.size());
    return;
  }
  // The display takes a text whole that begins within the length and runs past it.
  const std::size_t beyond = rest.size() - length;
  while (rest.size() > beyond && ReadTextCommand(rest, decoded)) {
  }
}

void ReadFlash(Bytes message, decoded_t& decoded) {
  Bytes rest = message.subspan(1);
  if (!ReadTextCommand(rest, decoded)) return;
  decoded.problem.clear();  // a flash message has no field: the display ignores the byte in its place
  decoded.values.back().name.clear();
}

// "CMD2", "CMD7.11".
std::string CommandTitle(const command_t& command) {
  const std::string title = "CMD" + std::to_string(command.number);
  return command.sub == NO_SUB ? title : title + "." + std::to_string(command.sub);
}

}  // namespace

decoded_t ShowBytes(Bytes message, std::string problem) {
  decoded_t decoded{.command = "?", .name = "unknown", .values = {}, .problem = std::move(problem)};
  decoded.values.push_back({.name = "bytes", .text = FormatHex(message), .unit = {}, .number = {}});
  return decoded;
}

decoded_t ReadCommand(Bytes message, known_units_t units) {
  const command_t* command = FindCommand(message);
  if (command == nullptr) return ShowBytes(message, "the display knows no such command");
  decoded_t decoded{
      .command = CommandTitle(*command), .name = std::string(command->name), .values = {}, .problem = {}};
  if (message.size() < command->leastLength) {
    decoded.problem =
        std::to_string(message.size()) + " bytes came, " + std::to_string(command->leastLength) + " are needed";
    return decoded;
  }
  switch (command->layout) {
    case message_layout_t::TEXTS:
      ReadTexts(message, decoded);
      break;
    case message_layout_t::FLASH:
      ReadFlash(message, decoded);
      break;
    case message_layout_t::FIELDS:
      ReadFields(command->fields, message, units, decoded);
  }
  return decoded;
}

decoded_t ReadReply(const command_t& request, Bytes message) {
  decoded_t decoded{.command = "reply", .name = std::string(request.name), .values = {}, .problem = {}};
  ReadFields(request.reply.fields, message, {}, decoded);
  return decoded;
}

}  // namespace host
