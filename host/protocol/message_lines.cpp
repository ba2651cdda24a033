#include "host/protocol/message_lines.h"

#include <array>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "host/protocol/value_text.h"

namespace host {
namespace {

constexpr std::uint64_t MICROS_PER_SECOND = 1'000'000;
constexpr int SENDER_WIDTH = 7;
constexpr int COMMAND_WIDTH = 8;

std::string FormatNamedValue(const value_t& value) {
  std::string words = value.name.empty() ? "" : value.name + " ";
  words += value.quoted ? "\"" + Printable(value.text) + "\"" : value.text;
  return value.unit.empty() ? words : words + " " + value.unit;
}

std::string Padded(std::string text, int width) {
  if (text.size() < static_cast<std::size_t>(width)) text.resize(static_cast<std::size_t>(width), ' ');
  return text;
}

// A frame of another station has its identifier in the place of the command.
std::string FormatOther(const bus_message_t& message) {
  std::ostringstream identifier;
  identifier << std::hex << std::uppercase << std::setfill('0') << std::setw(message.frame.extended ? 8 : 3)
             << message.frame.identifier;
  return Padded(identifier.str(), COMMAND_WIDTH) + "  " + message.decoded.values[0].text;
}

}  // namespace

std::string_view SenderName(sender_t sender) {
  constexpr std::array<std::string_view, 3> NAMES = {"host", "display", "other"};
  return NAMES[static_cast<std::size_t>(sender)];
}

std::string FormatTimeOfDay(std::uint64_t time_us) {
  const auto seconds = static_cast<std::time_t>(time_us / MICROS_PER_SECOND);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  std::ostringstream text;
  text << std::put_time(&local, "%H:%M:%S") << '.' << std::setfill('0') << std::setw(3)
       << time_us % MICROS_PER_SECOND / 1000;
  return text.str();
}

std::string FormatMessage(const decoded_t& decoded) {
  std::string words = decoded.name;
  const char* separator = ": ";
  for (const value_t& value : decoded.values) {
    words += separator + FormatNamedValue(value);
    separator = ", ";
  }
  return decoded.problem.empty() ? words : words + "  (!) " + decoded.problem;
}

std::string FormatWatchLine(const bus_message_t& message) {
  const std::string head = FormatTimeOfDay(message.time_us) + "  " +
                           Padded(std::string(SenderName(message.sender)), SENDER_WIDTH) + "  ";
  if (message.sender == sender_t::OTHER) return head + FormatOther(message);
  return head + Padded(message.decoded.command, COMMAND_WIDTH) + "  " + FormatMessage(message.decoded);
}

}  // namespace host
