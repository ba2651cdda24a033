// CAN frames as messages of the socketcand protocol, and the splitter for its byte stream.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace bus {

// "< send 18FF00D0 8 0 1 6 0 0 0 0 0 >" comes from a client, "< frame 18FF00D2 1436509052.249713
// 0001060000000000 >" goes to a client in raw mode. A message includes its brackets. An identifier of eight
// digits has 29 bits.
std::optional<frame_t> ParseSocketcandSend(std::string_view message);
std::string FormatSocketcandSend(const frame_t& frame);
std::optional<frame_t> ParseSocketcandFrame(std::string_view message);
std::string FormatSocketcandFrame(const frame_t& frame);

// Splits a byte stream into "< ... >" messages. Skips bytes outside brackets; drops and counts messages of more
// than 256 bytes.
class SocketcandSplitter {
 public:
  void Feed(std::string_view bytes);
  // Sets `message` to the next whole message with its brackets; false when there is none yet.
  bool Next(std::string& message);
  std::uint64_t Dropped() const { return dropped_; }

 private:
  void KeepFrom(std::size_t open);

  std::string buffer_;
  std::size_t start_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace bus
