// A CAN frame as a message of the socketcand protocol, and the splitting of its byte stream.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace bus {

// socketcand: "< send 18FF00D0 8 0 1 6 0 0 0 0 0 >" from a client, "< frame 18FF00D2 1436509052.249713
// 0001060000000000 >" to it (raw mode). Both take and give one message with its brackets; identifiers of eight
// digits are extended.
std::optional<frame_t> ParseSocketcandSend(std::string_view message);
std::string FormatSocketcandSend(const frame_t& frame);
std::optional<frame_t> ParseSocketcandFrame(std::string_view message);
std::string FormatSocketcandFrame(const frame_t& frame);

// Splits a byte stream into "< ... >" messages. Bytes outside brackets are passed over; a message that grows
// beyond 256 bytes is dropped and counted.
class SocketcandSplitter {
 public:
  void Feed(std::string_view bytes);
  // The next whole message, brackets included; false when there is none yet.
  bool Next(std::string& message);
  std::uint64_t Dropped() const { return dropped_; }

 private:
  std::string buffer_;
  std::size_t start_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace bus
