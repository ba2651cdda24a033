// The line of the key log for a front key that went down or up: "(1436509052.249713) key 3 down".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace bus {

struct key_change_t {
  std::uint64_t time_us = 0;  // microseconds of the real-time clock
  int key = 0;                // 1 to 8
  bool down = false;

  bool operator==(const key_change_t&) const = default;
};

std::string FormatKeyLine(const key_change_t& change);
// Empty when the line has another form.
std::optional<key_change_t> ParseKeyLine(std::string_view line);

}  // namespace bus
