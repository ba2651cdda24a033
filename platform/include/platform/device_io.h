// Device registers mapped into the process, under Neutrino's own names.
//
// On Linux the registers are emulated: the keypad port answers the column strobes with the rows that the keys
// held on the front panel pull down, the pad control words are kept, and the counter runs at 32,000 a second.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int _NTO_TCTL_IO = 14;
constexpr std::uintptr_t MAP_DEVICE_FAILED = ~std::uintptr_t{0};

// Obtains I/O privilege for the calling thread (command _NTO_TCTL_IO, data 0). Returns 0, or -1 with errno.
int ThreadCtl(int command, void* data);

// Maps `bytes` of device registers at a physical address and returns what in16 and the others take, or
// MAP_DEVICE_FAILED with errno: ENXIO where no device answers at the address.
std::uintptr_t mmap_device_io(std::size_t bytes, std::uint64_t physicalAddress);
int munmap_device_io(std::uintptr_t base, std::size_t bytes);

// Register access; `address` is a mapping's base plus the register's offset. A register that does not exist
// reads as all ones and ignores writes.
std::uint16_t in16(std::uintptr_t address);
void out16(std::uintptr_t address, std::uint16_t value);
std::uint32_t in32(std::uintptr_t address);
void out32(std::uintptr_t address, std::uint32_t value);
