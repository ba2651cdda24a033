#include "unit/faults/trouble_codes.h"

#include "platform/byte_order.h"

namespace unit {
namespace {

constexpr std::size_t FIRST_CODE_AT = 2;
constexpr std::size_t CODE_SIZE = 4;
constexpr std::uint32_t NO_SPN = 0x7FFFF;  // all bits set: not available
constexpr unsigned LAMP_LIT = 1;

fault_lamps_t ReadLamps(std::uint8_t byte) {
  fault_lamps_t lamps{};
  for (std::size_t lamp = 0; lamp < FAULT_LAMPS; ++lamp) {
    lamps.at(lamp) = (byte >> (6 - 2 * lamp) & 3U) == LAMP_LIT;
  }
  return lamps;
}

// Empty where the bytes are no code.
std::optional<trouble_code_t> ReadCode(std::uint32_t bytes) {
  const std::uint32_t spn = (bytes & 0xFFFFU) | (bytes >> 5 & 0x70000U);
  const auto fmi = static_cast<std::uint8_t>(bytes >> 16 & 0x1FU);
  if ((spn == 0 && fmi == 0) || spn == NO_SPN) return std::nullopt;
  const bool isOldLayout = bytes >> 31 != 0;
  const auto count = static_cast<std::uint8_t>(bytes >> 24 & 0x7FU);
  return trouble_code_t{isOldLayout ? std::nullopt : std::optional(spn), fmi, count};
}

}  // namespace

std::optional<dm1_t> ReadDm1(std::span<const std::uint8_t> message) {
  if (message.size() < FIRST_CODE_AT + CODE_SIZE) return std::nullopt;
  dm1_t read{ReadLamps(message[0]), {}};
  for (std::size_t at = FIRST_CODE_AT; at + CODE_SIZE <= message.size(); at += CODE_SIZE) {
    if (const auto code = ReadCode(platform::LoadLe32(message, at))) read.codes.push_back(*code);
  }
  return read;
}

}  // namespace unit
