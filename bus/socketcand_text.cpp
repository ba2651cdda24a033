#include "bus/socketcand_text.h"

#include <algorithm>

#include "bus/text_fields.h"

namespace bus {
namespace {

constexpr std::size_t MOST_MESSAGE_BYTES = 256;

// Reads the words after the verb of "< verb ... >"; empty when the brackets are missing or the verb is another.
std::optional<FieldReader> OpenMessage(std::string_view message, std::string_view verb) {
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.remove_suffix(1);
  if (message.size() < 2 || message.front() != '<' || message.back() != '>') return std::nullopt;
  FieldReader fields(message.substr(1, message.size() - 2));
  if (fields.Next() != verb) return std::nullopt;
  return fields;
}

bool IsWhiteSpace(char character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

bool IsMessageCharacter(char character) {
  return IsWhiteSpace(character) || (character > ' ' && character <= '~');
}

}  // namespace

std::optional<frame_t> ParseSocketcandSend(std::string_view message) {
  auto fields = OpenMessage(message, "send");
  frame_t frame;
  if (!fields || !ParseIdentifier(fields->Next(), 1, frame)) return std::nullopt;
  const auto length = ParseNumber<std::uint8_t>(fields->Next(), 10);
  if (!length || *length > frame.data.size()) return std::nullopt;
  for (; frame.length < *length; ++frame.length) {
    const auto byte = ParseNumber<std::uint8_t>(fields->Next(), 16);  // one digit or two
    if (!byte) return std::nullopt;
    frame.data[frame.length] = *byte;
  }
  if (!fields->Next().empty()) return std::nullopt;
  return frame;
}

std::string FormatSocketcandSend(const frame_t& frame) {
  std::string text = "< send " + FormatIdentifier(frame) + " " + std::to_string(frame.length);
  for (const std::uint8_t byte : frame.Bytes()) {
    text.push_back(' ');
    AppendHexBytes(text, {&byte, 1});
  }
  return text + " >";
}

std::optional<frame_t> ParseSocketcandFrame(std::string_view message) {
  auto fields = OpenMessage(message, "frame");
  frame_t frame;
  if (!fields || !ParseIdentifier(fields->Next(), 1, frame)) return std::nullopt;
  const auto time = ParseStamp(fields->Next());
  if (!time) return std::nullopt;
  frame.time_us = *time;
  // Some servers put blanks between the bytes.
  for (std::string_view word = fields->Next(); !word.empty(); word = fields->Next()) {
    if (!ParseHexBytes(word, frame)) return std::nullopt;
  }
  return frame;
}

std::string FormatSocketcandFrame(const frame_t& frame) {
  std::string text = "< frame " + FormatIdentifier(frame) + " " + FormatStamp(frame.time_us) + " ";
  AppendHexBytes(text, frame.Bytes());
  return text + " >";
}

void SocketcandSplitter::Feed(std::string_view bytes) {
  if (!foreign_) buffer_.append(bytes);
}

// Drops the bytes before a message that has begun but not ended; drops that message too where it is too long.
// The rest of a dropped message is skipped later, since it has no opening bracket.
void SocketcandSplitter::KeepFrom(std::size_t open) {
  const bool tooLong = open != std::string::npos && buffer_.size() - open > MOST_MESSAGE_BYTES;
  if (tooLong) ++dropped_;
  buffer_.erase(0, tooLong ? buffer_.size() : std::min(open, buffer_.size()));
  start_ = 0;
}

// Whether the bytes from the last message up to `close` are of another protocol. `open` and `close` are npos
// where there is no such bracket yet.
bool SocketcandSplitter::Refuses(std::size_t open, std::size_t close) const {
  if (rule_ == foreign_bytes_t::SKIP) return false;
  const std::string_view bytes(buffer_);
  const std::size_t begin = std::min(open, bytes.size());
  const std::string_view message = bytes.substr(begin, close == std::string::npos ? close : close + 1 - begin);
  const std::string_view between = bytes.substr(start_, begin - start_);
  return !std::ranges::all_of(between, IsWhiteSpace) || !std::ranges::all_of(message, IsMessageCharacter) ||
         message.size() > MOST_MESSAGE_BYTES || message.find('<', 1) != std::string_view::npos;
}

bool SocketcandSplitter::Next(std::string& message) {
  while (!foreign_) {
    const std::size_t open = buffer_.find('<', start_);
    const std::size_t close = open == std::string::npos ? open : buffer_.find_first_of("<>", open + 1);
    if (Refuses(open, close)) {
      foreign_ = true;
      ++dropped_;
      buffer_.clear();
      start_ = 0;
      return false;
    }
    if (close == std::string::npos) {
      KeepFrom(open);
      return false;
    }
    const bool whole = buffer_[close] == '>' && close - open < MOST_MESSAGE_BYTES;
    start_ = buffer_[close] == '>' ? close + 1 : close;  // a second '<' starts a new message
    if (whole) {
      message.assign(buffer_, open, close - open + 1);
      return true;
    }
    ++dropped_;
  }
  return false;
}

}  // namespace bus
