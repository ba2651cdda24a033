#include "unit/screen/design/message_reader.h"

#include <cmath>
#include <string_view>

#include "platform/byte_order.h"

#include "unit/screen/design/text_layout.h"

namespace unit {
namespace {

constexpr std::size_t WORD = 4;
constexpr std::size_t TEXT_AT = SCREEN_ARGUMENTS_AT + WORD;

bool ReadFloats(screen_command_t& command, std::span<const std::uint8_t> message, std::size_t at,
                std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    command.parts.at(i) = platform::LoadLeFloat(message, at + i * WORD);
    if (!std::isfinite(command.parts.at(i))) return false;
  }
  return true;
}

bool ReadText(screen_command_t& command, std::span<const std::uint8_t> message) {
  if (message.size() <= TEXT_AT || message.size() > SCREEN_MESSAGE_SIZE) return false;
  command.number = platform::LoadLe32(message, SCREEN_ARGUMENTS_AT);
  // The message's last byte is the text's end. A zero before it is a character of the text: the host's texts
  // may hold any code, and what follows it must not be lost.
  const auto text = message.subspan(TEXT_AT, message.size() - TEXT_AT - 1);
  if (command.number > SCREEN_TEXT_RIGHT || message.back() != 0) return false;
  command.text = CleanText(std::string(text.begin(), text.end()));
  return true;
}

bool ReadPlace(screen_command_t& command, std::span<const std::uint8_t> message) {
  for (std::size_t i = 0; i < command.place.size(); ++i) {
    command.place.at(i) =
        static_cast<std::int32_t>(platform::LoadLe32(message, SCREEN_ARGUMENTS_AT + i * WORD));
  }
  return true;
}

bool ReadNumberArgument(screen_command_t& command, std::span<const std::uint8_t> message) {
  command.number = platform::LoadLe32(message, SCREEN_ARGUMENTS_AT);
  return true;
}

bool ReadRotation(screen_command_t& command, std::span<const std::uint8_t> message) {
  return ReadFloats(command, message, SCREEN_ARGUMENTS_AT, 3);
}

bool ReadColor(screen_command_t& command, std::span<const std::uint8_t> message) {
  ReadNumberArgument(command, message);
  return command.number <= 1 && ReadFloats(command, message, SCREEN_ARGUMENTS_AT + WORD, 4);
}

bool ReadNothing(screen_command_t&, std::span<const std::uint8_t>) {
  return true;
}

struct operation_row_t {
  screen_operation_t operation;
  std::size_t length;  // of the message, bytes; 0: depends on its text
  bool (*read)(screen_command_t&, std::span<const std::uint8_t>);
};

constexpr std::array<operation_row_t, 9> OPERATIONS{{
    {SCREEN_SET_TEXT, 0, ReadText},
    {SCREEN_MOVE, 16, ReadPlace},
    {SCREEN_ROTATE, 20, ReadRotation},
    {SCREEN_FRAMERATE, 12, ReadNumberArgument},
    {SCREEN_PROCESS_COMMANDS, 8, ReadNothing},
    {SCREEN_SHOW, 8, ReadNothing},
    {SCREEN_HIDE, 8, ReadNothing},
    {SCREEN_SET_COLOR, 28, ReadColor},
    {SCREEN_SET_ALTERNATE, 12, ReadNumberArgument},
}};

}  // namespace

std::optional<screen_command_t> ReadScreenMessage(std::span<const std::uint8_t> message) {
  if (message.size() < SCREEN_ARGUMENTS_AT) return std::nullopt;
  const std::uint32_t operation = platform::LoadLe32(message, SCREEN_OPERATION_AT);
  if (operation >= OPERATIONS.size()) return std::nullopt;
  const operation_row_t& row = OPERATIONS.at(operation);
  if (row.length != 0 && message.size() != row.length) return std::nullopt;
  screen_command_t command;
  command.operation = row.operation;
  command.target = static_cast<std::int32_t>(platform::LoadLe32(message, SCREEN_TARGET_AT));
  if (!row.read(command, message)) return std::nullopt;
  return command;
}

}  // namespace unit
