// A CAN frame.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace bus {

// One classic CAN data frame. Readers skip error frames, remote frames and CAN FD frames.
struct frame_t {
  std::uint32_t identifier = 0;  // 11 bits, or 29 where `extended`
  bool extended = true;
  std::uint8_t length = 0;  // 0 to 8
  std::array<std::uint8_t, 8> data{};
  std::uint64_t time_us = 0;  // when the bus saw it, microseconds of the real-time clock; 0: unknown

  std::span<const std::uint8_t> Bytes() const { return {data.data(), length}; }
};

// The present time for a frame: microseconds of the real-time clock.
std::uint64_t RealTime_us();

}  // namespace bus
