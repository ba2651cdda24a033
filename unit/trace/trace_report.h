// The message in which the J1939 service hands every frame of the bus to the panel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "bus/can_frame.h"

namespace unit {

// The notification manager's channel for it: ten times a second while frames pass.
constexpr const char* TRACE_CHANNEL_NAME = "unit.Trace";

struct traced_frame_t {
  bus::frame_t frame;
  bool sent = false;  // by the display unit
};

struct trace_report_t {
  static constexpr std::size_t MOST_FRAMES = 400;  // a message of the notification manager has room for 425

  std::uint64_t first = 0;  // frames that passed before these since the service started
  std::vector<traced_frame_t> frames;
};

// A report is its first number, then one record for each frame.
//
// | offset | size | content of a record, little-endian             |
// |--------|------|------------------------------------------------|
// | 0      | 8    | time, microseconds of the real-time clock      |
// | 8      | 4    | identifier                                     |
// | 12     | 1    | 1: the identifier has 29 bits                  |
// | 13     | 1    | 1: sent by the display unit                    |
// | 14     | 1    | data bytes, 0 to 8                             |
// | 15     | 1    | 0                                              |
// | 16     | 8    | data                                           |
std::vector<std::uint8_t> WriteTraceReport(const trace_report_t& report);
// Empty for a message of another size, and where a frame has more than eight bytes.
std::optional<trace_report_t> ReadTraceReport(std::span<const std::uint8_t> message);

}  // namespace unit
