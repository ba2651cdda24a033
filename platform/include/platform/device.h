// The unit's character devices: "/dev/io_interface" (outputs) and "/dev/pwm0" (backlight).
//
// On Linux the calls access the board's shared object and never block; any other path is opened as a file.
#pragma once

#include <cstddef>

#include <sys/types.h>

namespace platform {

// Opens a device by its path on the unit; `flags` as for open(). Returns a descriptor above 0, or -1 with
// errno.
int OpenDevice(const char* path, int flags);
// Writes one command. Returns the number of bytes written, or -1 with errno: EINVAL for a wrong length or
// output.
ssize_t WriteDevice(int descriptor, const void* data, std::size_t bytes);
int CloseDevice(int descriptor);

}  // namespace platform

// Sends a device-control command with `bytes` of data; `info` may be null. Returns 0 (EOK) or an error number.
int devctl(int descriptor, int command, void* data, std::size_t bytes, int* info);
