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

// Splits a byte stream into "< ... >" messages of at most 256 bytes.
class SocketcandSplitter {
 public:
  // What to do with anything else: white space between messages is always allowed, and printable characters
  // inside them.
  //  SKIP    passes over bytes outside brackets; drops and counts messages that are too long. A client does so,
  //          because servers differ.
  //  REFUSE  takes the stream for one of another protocol: no further message comes out of it. A server does
  //          so, because a web page can make a browser send an HTTP request to any port, with messages in its
  //          body.
  enum class foreign_bytes_t { SKIP, REFUSE };

  explicit SocketcandSplitter(foreign_bytes_t rule = foreign_bytes_t::SKIP) : rule_(rule) {}

  void Feed(std::string_view bytes);
  // Sets `message` to the next whole message with its brackets; false when there is none yet.
  bool Next(std::string& message);
  std::uint64_t Dropped() const { return dropped_; }
  // Next has refused the stream.
  bool IsForeign() const { return foreign_; }

 private:
  void KeepFrom(std::size_t open);
  bool Refuses(std::size_t open, std::size_t close) const;

  const foreign_bytes_t rule_;
  bool foreign_ = false;
  std::string buffer_;
  std::size_t start_ = 0;
  std::uint64_t dropped_ = 0;
};

}  // namespace bus
