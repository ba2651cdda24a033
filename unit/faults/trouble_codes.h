// Reads the message DM1, "active diagnostic trouble codes" (SAE J1939-73, PGN 65226).
//
// Each control unit sends it once a second while it has an active code, and when its codes change.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace unit {

constexpr std::uint32_t DM1_PGN = 0xFECA;

enum fault_lamp_t : std::size_t { LAMP_MALFUNCTION, LAMP_STOP, LAMP_WARNING, LAMP_PROTECT, FAULT_LAMPS };

using fault_lamps_t = std::array<bool, FAULT_LAMPS>;  // true: the control unit wants the lamp lit

constexpr std::uint8_t COUNT_UNKNOWN = 127;  // the control unit does not count the fault's occurrences

struct trouble_code_t {
  // Empty where the control unit uses one of the three older layouts (conversion method 1): the message does
  // not tell which, and the number would name the wrong component.
  std::optional<std::uint32_t> spn;
  std::uint8_t fmi = 0;                // failure mode, 0 to 31
  std::uint8_t count = COUNT_UNKNOWN;  // of occurrences, 0 to 126

  bool operator==(const trouble_code_t&) const = default;
};

struct dm1_t {
  fault_lamps_t lamps{};
  std::vector<trouble_code_t> codes;  // empty: the control unit has no active code
};

// | byte        | content                                                                              |
// |-------------|--------------------------------------------------------------------------------------|
// | 0           | two bits a lamp, 01: lit; from bit 7: malfunction, red stop, amber warning, protect  |
// | 1           | how the lamps flash; not used                                                        |
// | 2 + 4n      | SPN, bits 0 to 7                                                                     |
// | 3 + 4n      | SPN, bits 8 to 15                                                                    |
// | 4 + 4n      | bits 7 to 5: SPN, bits 16 to 18; bits 4 to 0: FMI                                    |
// | 5 + 4n      | bit 7: conversion method; bits 6 to 0: count                                         |
//
// SPN 0 with FMI 0 says "no code". Bytes of 0xFF are no code either: they fill up the frame. Empty for a
// message that is too short to hold one code.
std::optional<dm1_t> ReadDm1(std::span<const std::uint8_t> message);

}  // namespace unit
