// Bytes as hexadecimal text: "00 01 06".
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "bus/can_frame.h"

inline std::vector<std::uint8_t> FromHex(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  std::istringstream in(text);
  for (unsigned byte = 0; in >> std::hex >> byte;) bytes.push_back(static_cast<std::uint8_t>(byte));
  return bytes;
}

inline std::string ToHex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    char digits[4];
    static_cast<void>(std::snprintf(digits, sizeof digits, "%02X", byte));
    text += (text.empty() ? "" : " ") + std::string(digits);
  }
  return text;
}

inline std::vector<std::string> ToHex(const std::vector<bus::frame_t>& frames) {
  std::vector<std::string> texts;
  for (const bus::frame_t& frame : frames) texts.push_back(ToHex(frame.Bytes()));
  return texts;
}
