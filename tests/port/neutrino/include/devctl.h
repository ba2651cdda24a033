// Device-control commands.
#pragma once

#include <cstddef>

extern "C" int devctl(int descriptor, int command, void* data, std::size_t bytes, int* info);
