#include "host/protocol/encode.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <limits>

#include "platform/byte_order.h"

#include "host/protocol/errors.h"
#include "src/core/frame_layout.h"

namespace host {
namespace {

constexpr std::size_t MOST_FRAMES = 255;
constexpr std::size_t MOST_MESSAGE_BYTES = MessageRoom(MAX_MESSAGE_FRAMES);
constexpr std::size_t LAMP_BYTES_APART = 5;  // from bits 0 to 7 to bits 24 to 31

template <typename T>
T Fit(double value) {
  constexpr double LEAST = std::numeric_limits<T>::min();
  constexpr double MOST = std::numeric_limits<T>::max();
  return std::isnan(value) ? T{0} : static_cast<T>(std::clamp(std::round(value), LEAST, MOST));
}

void StoreLamps(std::span<std::uint8_t> message, std::size_t at, std::uint32_t word) {
  for (unsigned i = 0; i < 3; ++i) message[at + i] = static_cast<std::uint8_t>(word >> (8U * i));
  message[at + LAMP_BYTES_APART] = static_cast<std::uint8_t>(word >> 24U);
}

std::uint32_t LoadLamps(std::span<const std::uint8_t> message, std::size_t at) {
  std::uint32_t word = static_cast<std::uint32_t>(message[at + LAMP_BYTES_APART]) << 24U;
  for (unsigned i = 0; i < 3; ++i) word |= static_cast<std::uint32_t>(message[at + i]) << (8U * i);
  return word;
}

void AppendText(MessageBytes& message, std::uint8_t field, std::string_view text) {
  if (text.empty()) throw UsageError("a text needs one character at least; send a blank to show nothing");
  const std::size_t begin = message.size();
  if (text.size() > MOST_MESSAGE_BYTES - std::min(MOST_MESSAGE_BYTES, begin + TEXT_HEADER)) {
    throw UsageError("the texts do not fit into one message of " + std::to_string(MOST_MESSAGE_BYTES) +
                     " bytes");
  }
  message.resize(begin + TEXT_HEADER);
  platform::StoreBe16(message, begin,
                      static_cast<std::uint16_t>(text.size() + TEXT_HEADER - TEXT_LENGTH_BYTES));
  message[begin + TEXT_FIELD_AT] = field;
  message.insert(message.end(), text.begin(), text.end());
}

}  // namespace

void WriteNumber(const field_t& field, double value, std::span<std::uint8_t> message) {
  const double scaled = value * field.scale;
  switch (field.type) {
    case field_type_t::I16_BE:
      return platform::StoreBe16(message, field.offset, static_cast<std::uint16_t>(Fit<std::int16_t>(scaled)));
    case field_type_t::FLOAT_BE:
      return platform::StoreBeFloat(message, field.offset, static_cast<float>(scaled));
    case field_type_t::LAMPS:
      return StoreLamps(message, field.offset, Fit<std::uint32_t>(scaled));
    default:
      message[field.offset] = Fit<std::uint8_t>(scaled);
  }
}

double ReadNumber(const field_t& field, std::span<const std::uint8_t> message) {
  switch (field.type) {
    case field_type_t::I16_BE:
      return static_cast<std::int16_t>(platform::LoadBe16(message, field.offset)) / field.scale;
    case field_type_t::FLOAT_BE:
      return platform::LoadBeFloat(message, field.offset) / field.scale;
    case field_type_t::LAMPS:
      return LoadLamps(message, field.offset) / field.scale;
    default:
      return message[field.offset] / field.scale;
  }
}

MessageBytes MakeMessage(const command_t& command, std::span<const double> values) {
  assert(values.size() == command.fields.size());
  MessageBytes message(command.leastLength, 0);
  message[0] = command.number;
  if (command.sub != NO_SUB) message[1] = static_cast<std::uint8_t>(command.sub);
  for (std::size_t i = 0; i < values.size(); ++i) WriteNumber(command.fields[i], values[i], message);
  return message;
}

MessageBytes MakeMessage(std::string_view command, double value) {
  const command_t* found = FindCommand(command);
  assert(found != nullptr);
  return MakeMessage(*found, {&value, 1});
}

MessageBytes MakeMessage(std::string_view command) {
  const command_t* found = FindCommand(command);
  assert(found != nullptr);
  return MakeMessage(*found);
}

MessageBytes MakeKeyMasksMessage(std::span<const std::uint8_t> masks) {
  constexpr std::array<std::uint8_t, 2> HEAD = {EXTENDED_COMMAND, 1};
  MessageBytes message;
  message.reserve(HEAD.size() + 1 + masks.size());
  message.assign(HEAD.begin(), HEAD.end());
  message.push_back(static_cast<std::uint8_t>(masks.size()));
  message.insert(message.end(), masks.begin(), masks.end());
  return message;
}

MessageBytes MakeTextsMessage(std::span<const field_text_t> texts) {
  if (texts.empty()) throw UsageError("a text command needs one text at least");
  MessageBytes message(TEXTS_BEGIN, 0);
  message[0] = TextsCommand().number;
  for (const field_text_t& text : texts) AppendText(message, text.field, text.text);
  platform::StoreBe16(message, 1, static_cast<std::uint16_t>(message.size() - TEXTS_BEGIN));
  return message;
}

MessageBytes MakeFlashMessage(std::string_view text) {
  MessageBytes message = {FlashCommand().number};
  AppendText(message, 0, text);
  return message;
}

std::vector<bus::frame_t> CutIntoFrames(std::span<const std::uint8_t> message) {
  if (message.empty()) throw UsageError("a message needs one byte at least");
  std::size_t count = 1;
  while (MessageRoom(count) < message.size()) ++count;
  if (count > MOST_FRAMES) {
    throw UsageError("a message has " + std::to_string(MessageRoom(MOST_FRAMES)) + " bytes at most");
  }
  std::vector<bus::frame_t> frames(count);
  for (std::size_t k = 0; k < count; ++k) {
    bus::frame_t& frame = frames[k];
    frame.identifier = HOST_FRAME_ID;
    frame.length = FRAME_SIZE;
    frame.data.fill(FRAME_PADDING);
    frame.data[0] = static_cast<std::uint8_t>(k);
    if (k == 0) frame.data[1] = static_cast<std::uint8_t>(count);
    const std::size_t room = k == 0 ? FIRST_FRAME_ROOM : LATER_FRAME_ROOM;
    const std::size_t part = std::min(room, message.size());
    std::copy_n(message.begin(), part, frame.data.begin() + static_cast<std::ptrdiff_t>(FRAME_SIZE - room));
    message = message.subspan(part);
  }
  return frames;
}

}  // namespace host
