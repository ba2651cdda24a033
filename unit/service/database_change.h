// The message that the database service publishes each time that the value of a parameter changes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/byte_order.h"

namespace unit {

// The notification manager's channel for it.
constexpr const char* DATABASE_CHANNEL_NAME = "unit.Database";

struct database_change_t {
  std::uint32_t handle = 0;
  double value = 0;  // NaN: the parameter has no valid value
};

// | offset | size | content, little-endian |
// |--------|------|------------------------|
// | 0      | 4    | handle                 |
// | 4      | 4    | 0                      |
// | 8      | 8    | value, IEEE 754        |
constexpr std::size_t DATABASE_CHANGE_HANDLE_AT = 0;
constexpr std::size_t DATABASE_CHANGE_VALUE_AT = 8;
constexpr std::size_t DATABASE_CHANGE_SIZE = 16;

inline std::array<std::uint8_t, DATABASE_CHANGE_SIZE> WriteDatabaseChange(const database_change_t& change) {
  std::array<std::uint8_t, DATABASE_CHANGE_SIZE> message{};
  platform::StoreLe32(message, DATABASE_CHANGE_HANDLE_AT, change.handle);
  platform::StoreLeDouble(message, DATABASE_CHANGE_VALUE_AT, change.value);
  return message;
}

// Empty for a message of another size.
inline std::optional<database_change_t> ReadDatabaseChange(std::span<const std::uint8_t> message) {
  if (message.size() != DATABASE_CHANGE_SIZE) return std::nullopt;
  return database_change_t{platform::LoadLe32(message, DATABASE_CHANGE_HANDLE_AT),
                           platform::LoadLeDouble(message, DATABASE_CHANGE_VALUE_AT)};
}

}  // namespace unit
