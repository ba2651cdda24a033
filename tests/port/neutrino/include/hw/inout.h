// Access to device registers.
#pragma once

#include <cstdint>

extern "C" {
std::uint16_t in16(std::uintptr_t address);
void out16(std::uintptr_t address, std::uint16_t value);
std::uint32_t in32(std::uintptr_t address);
void out32(std::uintptr_t address, std::uint32_t value);
}
