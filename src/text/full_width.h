// The full-width form of each printable ASCII character (Unicode block Halfwidth and Fullwidth Forms).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

struct full_width_char_t {
  std::uint8_t octet;            // 0x20 to 0x7E
  std::uint32_t codePoint;       // U+3000 for the blank, else octet + 0xFEE0
  std::string_view unicodeName;  // for the reader; not used
};

constexpr std::size_t FULL_WIDTH_CHARS = 95;

// In ascending order of octet.
extern const std::array<full_width_char_t, FULL_WIDTH_CHARS> utf8_FullWidthCharMap;

// The entry of an octet; null when there is none.
const full_width_char_t* FindFullWidthChar(std::uint8_t octet);
