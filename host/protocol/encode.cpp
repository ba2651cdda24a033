#include "host/protocol/encode.h"

#include <algorithm>
#include <cassert>

#include "platform/byte_order.h"

#include "host/protocol/errors.h"
#include "host/protocol/field_codecs.h"
#include "src/core/frame_layout.h"

namespace host {
namespace {

constexpr std::size_t MOST_FRAMES = 255;
constexpr std::size_t MOST_MESSAGE_BYTES = MessageRoom(MAX_MESSAGE_FRAMES);

// Frame `number` of `count`, with its part of the message.
bus::frame_t MakeFrame(std::size_t number, std::size_t count, std::span<const std::uint8_t> part) {
  const std::size_t room = number == 0 ? FIRST_FRAME_ROOM : LATER_FRAME_ROOM;
  bus::frame_t frame{.identifier = HOST_FRAME_ID, .length = FRAME_SIZE, .data = {}};
  frame.data.fill(FRAME_PADDING);
  frame.data[0] = static_cast<std::uint8_t>(number);
  if (number == 0) frame.data[1] = static_cast<std::uint8_t>(count);
  std::ranges::copy(part, frame.data.begin() + static_cast<std::ptrdiff_t>(FRAME_SIZE - room));
  return frame;
}

void AppendText(MessageBytes& message, std::uint8_t field, std::string_view text) {
  if (text.empty()) throw UsageError("a text needs at least one character; send a blank to clear the field");
  const std::size_t begin = message.size();
  if (text.size() > MOST_MESSAGE_BYTES - std::min(MOST_MESSAGE_BYTES, begin + TEXT_HEADER)) {
    throw UsageError("the texts exceed one message of " + std::to_string(MOST_MESSAGE_BYTES) +
                     " bytes; send fewer or shorter ones");
  }
  message.resize(begin + TEXT_HEADER);
  platform::StoreBe16(message, begin,
                      static_cast<std::uint16_t>(text.size() + TEXT_HEADER - TEXT_LENGTH_BYTES));
  message[begin + TEXT_FIELD_AT] = field;
  message.insert(message.end(), text.begin(), text.end());
}

}  // namespace

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
  MessageBytes message = MakeMessage("valid-keys", static_cast<double>(masks.size()));
  message.insert(message.end(), masks.begin(), masks.end());
  return message;
}

MessageBytes MakeTextsMessage(std::span<const field_text_t> texts) {
  if (texts.empty()) throw UsageError("a text command needs at least one text");
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

std::size_t CountFrames(std::size_t bytes) {
  std::size_t frames = 1;
  while (MessageRoom(frames) < bytes) ++frames;
  return frames;
}

std::vector<bus::frame_t> CutIntoFrames(std::span<const std::uint8_t> message) {
  if (message.empty()) throw UsageError("a message needs at least one byte");
  const std::size_t count = CountFrames(message.size());
  if (count > MOST_FRAMES) {
    throw UsageError("a message has at most " + std::to_string(MessageRoom(MOST_FRAMES)) +
                     " bytes, this one has " + std::to_string(message.size()));
  }
  std::vector<bus::frame_t> frames;
  for (std::size_t number = 0; number < count; ++number) {
    const std::size_t room = number == 0 ? FIRST_FRAME_ROOM : LATER_FRAME_ROOM;
    const auto part = message.first(std::min(room, message.size()));
    frames.push_back(MakeFrame(number, count, part));
    message = message.subspan(part.size());
  }
  return frames;
}

}  // namespace host
