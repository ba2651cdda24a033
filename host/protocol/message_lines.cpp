#include "host/protocol/message_lines.h"

#include <array>
#include <ctime>
#include <iomanip>
#include <sstream>

#include "host/protocol/value_text.h"

namespace host {
namespace {

constexpr std::uint64_t MICROS_PER_SECOND = 1'000'000;
constexpr int SPEAKER_WIDTH = 7;
constexpr int COMMAND_WIDTH = 8;

std::string ValueWords(const value_t& value) {
  std::string words = value.name.empty() ? "" : value.name + " ";
  words += value.quoted ? "\"" + Printable(value.text) + "\"" : value.text;
  return value.unit.empty() ? words : words + " " + value.unit;
}

std::string Padded(std::string text, int width) {
  if (text.size() < static_cast<std::size_t>(width)) text.resize(static_cast<std::size_t>(width), ' ');
  return text;
}

// Of a frame of somebody else: its identifier stands where a command would.
std::string OtherWords(const utterance_t& utterance) {
  std::ostringstream identifier;
  identifier << std::hex << std::uppercase << std::setfill('0') << std::setw(utterance.frame.extended ? 8 : 3)
             << utterance.frame.identifier;
  return Padded(identifier.str(), COMMAND_WIDTH) + "  " + utterance.decoded.values[0].text;
}

}  // namespace

std::string_view SpeakerName(speaker_t speaker) {
  constexpr std::array<std::string_view, 3> NAMES = {"host", "display", "other"};
  return NAMES[static_cast<std::size_t>(speaker)];
}

std::string TimeOfDay(std::uint64_t time_us) {
  const auto seconds = static_cast<std::time_t>(time_us / MICROS_PER_SECOND);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  std::ostringstream text;
  text << std::put_time(&local, "%H:%M:%S") << '.' << std::setfill('0') << std::setw(3)
       << time_us % MICROS_PER_SECOND / 1000;
  return text.str();
}

std::string InWords(const decoded_t& decoded) {
  std::string words = decoded.name;
  const char* separator = ": ";
  for (const value_t& value : decoded.values) {
    words += separator + ValueWords(value);
    separator = ", ";
  }
  return decoded.problem.empty() ? words : words + "  (!) " + decoded.problem;
}

std::string WatchLine(const utterance_t& utterance) {
  const std::string head = TimeOfDay(utterance.time_us) + "  " +
                           Padded(std::string(SpeakerName(utterance.speaker)), SPEAKER_WIDTH) + "  ";
  if (utterance.speaker == speaker_t::OTHER) return head + OtherWords(utterance);
  return head + Padded(utterance.decoded.command, COMMAND_WIDTH) + "  " + InWords(utterance.decoded);
}

}  // namespace host
