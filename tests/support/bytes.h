// The bytes of messages, written by hand.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

using bytes_t = std::vector<std::uint8_t>;

// Little-endian words, one after another.
inline bytes_t Words(std::initializer_list<std::int64_t> words) {
  bytes_t bytes;
  for (const std::int64_t word : words) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(word >> shift));
  }
  return bytes;
}

inline bytes_t operator+(bytes_t left, const bytes_t& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline bytes_t Characters(std::string_view text) {
  return {text.begin(), text.end()};
}
