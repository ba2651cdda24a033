#include <fcntl.h>
#include <unistd.h>

#include "platform/device.h"
#include "platform/paths.h"

namespace platform {

int OpenDevice(const char* path, int flags) {
  return open(ResolveUnitPath(path).c_str(), flags);
}

ssize_t WriteDevice(int descriptor, const void* data, std::size_t bytes) {
  return write(descriptor, data, bytes);
}

int CloseDevice(int descriptor) {
  return close(descriptor);
}

}  // namespace platform
