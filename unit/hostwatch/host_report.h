// The message in which the J1939 service tells the screen service how old the host's operating values are.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace unit {

// The notification manager's channel for it: at each change and twice a second, while the bus is up and being
// received.
constexpr const char* HOST_CHANNEL_NAME = "unit.Host";

struct host_report_t {
  using TimePoint = std::chrono::steady_clock::time_point;

  bool areValuesFresh = false;
  TimePoint valuesAt{};  // when the newest values came; on the clock that all processes share

  bool operator==(const host_report_t&) const = default;
};

// | offset | size | content, little-endian                      |
// |--------|------|---------------------------------------------|
// | 0      | 8    | 1: the values are fresh                     |
// | 8      | 8    | valuesAt, nanoseconds of the steady clock   |
std::vector<std::uint8_t> WriteHostReport(const host_report_t& report);
// Empty for a message of another size.
std::optional<host_report_t> ReadHostReport(std::span<const std::uint8_t> message);

}  // namespace unit
