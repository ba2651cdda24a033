// The unit's character devices, whose drivers implement open, write and devctl. The functions are documented in
// the common platform/include/platform/device.h.
#pragma once

#include <cstddef>

#include <devctl.h>
#include <sys/types.h>

namespace platform {

int OpenDevice(const char* path, int flags);
ssize_t WriteDevice(int descriptor, const void* data, std::size_t bytes);
int CloseDevice(int descriptor);

}  // namespace platform
