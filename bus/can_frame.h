// A CAN frame on the desk's bus and its text forms: a line of a log and a message of the socketcand protocol.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace bus {

// One classic CAN data frame. Error and remote frames and CAN FD frames never reach this type; readers count
// and skip them.
struct frame_t {
  std::uint32_t identifier = 0;  // 11 bits, or 29 where `extended`
  bool extended = true;
  std::uint8_t length = 0;  // 0 to 8
  std::array<std::uint8_t, 8> data{};
  std::uint64_t time_us = 0;  // when it was seen, microseconds of the real-time clock; 0: not stamped

  std::span<const std::uint8_t> Bytes() const { return {data.data(), length}; }
};

// The present as a frame's stamp: microseconds of the real-time clock.
std::uint64_t RealTime_us();

// candump -L: "(1436509052.249713) vcan0 18FF00D0#0001060000000000". Eight hexadecimal digits are a 29-bit
// identifier, three an 11-bit one. Empty when the line is not a data frame.
struct log_line_t {
  frame_t frame;
  std::string_view interface;  // into the line
};
std::optional<log_line_t> ParseLogLine(std::string_view line);
std::string FormatLogLine(const frame_t& frame, std::string_view interface);

// A line of any log that is read here; empty when it is not a data frame. Identifiers and data are hexadecimal.
//
// | Written by                              | Line                                                            |
// |-----------------------------------------|-----------------------------------------------------------------|
// | candump -L and -l, canutils of others   | as ParseLogLine                                                 |
// | candump -ta and -tz, with -x as well    | (1436509052.249713)  vcan0  18FF00D0   [8]  00 01 06 00 ...     |
// | candump -tA: the machine's zone of time | (2015-07-10 08:17:32.249713)  vcan0  18FF00D0   [8]  00 01 ...  |
// | python-can's and log2asc's ASC          | 0.249713 1  18FF00D0x  Rx   d 8 00 01 06 00 ...                 |
// | python-can's CSV, data in base64        | 1436509052.249713,0x18ff00d0,1,0,0,8,AAEGAAAAAAA=               |
std::optional<frame_t> ParseAnyLogLine(std::string_view line);

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
