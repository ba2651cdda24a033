// The message in which the J1939 service tells the screen service which faults are active.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "unit/faults/trouble_codes.h"

namespace unit {

// The notification manager's channel for it: at each change, and once a second.
constexpr const char* FAULT_CHANNEL_NAME = "unit.Faults";

struct fault_t {
  std::uint8_t source = 0;  // address of the control unit
  trouble_code_t code;

  bool operator==(const fault_t&) const = default;
};

struct fault_report_t {
  bool heard = false;          // a control unit sends DM1
  fault_lamps_t lamps{};       // lit by any control unit
  std::uint16_t active = 0;    // the number of all active codes
  std::vector<fault_t> first;  // the first of them, at most MAX_REPORTED_FAULTS

  bool operator==(const fault_report_t&) const = default;
};

constexpr std::size_t MAX_REPORTED_FAULTS = 8;

// | offset  | size | content, little-endian                               |
// |---------|------|------------------------------------------------------|
// | 0       | 1    | 1: heard                                             |
// | 1       | 1    | lamps; bit n is the lamp n of fault_lamp_t           |
// | 2       | 2    | number of all active codes                           |
// | 4 + 8n  | 4    | SPN of the n-th code; 0xFFFFFFFF: not known          |
// | 8 + 8n  | 1    | source                                               |
// | 9 + 8n  | 1    | FMI                                                  |
// | 10 + 8n | 1    | count                                                |
// | 11 + 8n | 1    | 0                                                    |
std::vector<std::uint8_t> WriteFaultReport(const fault_report_t& report);
// Empty for a message of another size.
std::optional<fault_report_t> ReadFaultReport(std::span<const std::uint8_t> message);

}  // namespace unit
