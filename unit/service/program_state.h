// The message that the notification manager publishes when an application begins to send to the screen, and
// when it has ended. The newest is kept: who subscribes later gets it.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/byte_order.h"

namespace unit {

// The notification manager's channel for it.
constexpr const char* PROGRAM_CHANNEL_NAME = "unit.Program";

struct program_state_t {
  using TimePoint = std::chrono::steady_clock::time_point;  // all processes share this clock

  bool isRunning = false;
  TimePoint since{};
};

// | offset | size | content, little-endian                      |
// |--------|------|---------------------------------------------|
// | 0      | 8    | 1: the application runs                     |
// | 8      | 8    | since, ticks of the steady clock            |
constexpr std::size_t PROGRAM_RUNNING_AT = 0;
constexpr std::size_t PROGRAM_SINCE_AT = 8;
constexpr std::size_t PROGRAM_STATE_SIZE = 16;

inline std::array<std::uint8_t, PROGRAM_STATE_SIZE> WriteProgramState(const program_state_t& state) {
  std::array<std::uint8_t, PROGRAM_STATE_SIZE> message{};
  platform::StoreLe64(message, PROGRAM_RUNNING_AT, state.isRunning ? 1 : 0);
  platform::StoreLe64(message, PROGRAM_SINCE_AT,
                      static_cast<std::uint64_t>(state.since.time_since_epoch().count()));
  return message;
}

// Empty for a message of another size.
inline std::optional<program_state_t> ReadProgramState(std::span<const std::uint8_t> message) {
  if (message.size() != PROGRAM_STATE_SIZE) return std::nullopt;
  const program_state_t::TimePoint::duration since(
      static_cast<std::int64_t>(platform::LoadLe64(message, PROGRAM_SINCE_AT)));
  return program_state_t{platform::LoadLe64(message, PROGRAM_RUNNING_AT) == 1,
                         program_state_t::TimePoint(since)};
}

}  // namespace unit
