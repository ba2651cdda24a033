// The unit's character devices: their drivers answer open, write and devctl.
#pragma once

#include <cstddef>

#include <devctl.h>
#include <sys/types.h>

namespace platform {

int OpenDevice(const char* path, int flags);
ssize_t WriteDevice(int descriptor, const void* data, std::size_t bytes);
int CloseDevice(int descriptor);

}  // namespace platform
