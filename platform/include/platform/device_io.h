// Device registers mapped into the process, under Neutrino's own names.
//
// On Linux the registers are emulated: the keypad port returns the rows of the keys held in the columns that
// are driven low, the pad control words keep their values, and the counter counts 32,000 a second.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace platform {

// How long a line of the keypad port takes to follow a write. The emulated rows follow their columns at once.
constexpr std::chrono::microseconds PORT_SETTLE_TIME{0};

}  // namespace platform

constexpr int _NTO_TCTL_IO = 14;
constexpr std::uintptr_t MAP_DEVICE_FAILED = ~std::uintptr_t{0};

// Obtains I/O privilege for the calling thread (command _NTO_TCTL_IO, data 0). Returns 0, or -1 with errno.
int ThreadCtl(int command, void* data);

// Maps `bytes` of device registers at a physical address. Returns the base for in16, out16, in32 and out32, or
// MAP_DEVICE_FAILED with errno: ENXIO when there is no device at the address.
std::uintptr_t mmap_device_io(std::size_t bytes, std::uint64_t physicalAddress);
int munmap_device_io(std::uintptr_t base, std::size_t bytes);

// Register access; `address` is a mapping's base plus the register's offset. A register that does not exist
// reads as all ones and ignores writes.
std::uint16_t in16(std::uintptr_t address);
void out16(std::uintptr_t address, std::uint16_t value);
std::uint32_t in32(std::uintptr_t address);
void out32(std::uintptr_t address, std::uint32_t value);
