// POSIX's calls are the host's; mappings of device registers are Neutrino's.
#pragma once

#include <cstddef>
#include <cstdint>

#include_next <sys/mman.h>

#define MAP_DEVICE_FAILED (~std::uintptr_t{0})

extern "C" {
std::uintptr_t mmap_device_io(std::size_t bytes, std::uint64_t physicalAddress);
int munmap_device_io(std::uintptr_t base, std::size_t bytes);
}
