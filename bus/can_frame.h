// A CAN frame on the desk's bus.
#pragma once

#include <array>
#include <cstdint>
#include <span>

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

}  // namespace bus
