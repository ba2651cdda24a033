// A stream socket with a name in the file system (AF_UNIX): only a user who may open the file gets through.
#pragma once

#include <string>

#include "base/descriptor.h"

namespace base {

// Listens at `path` for this user alone (mode 0600), and replaces the file of a server that was killed. Throws
// std::runtime_error with the problem. The caller removes the file at its end.
Descriptor ListenLocally(const std::string& path);

// Connects to `path` without blocking. An empty descriptor with errno: ENOENT or ECONNREFUSED where no server
// listens there.
Descriptor ConnectLocally(const std::string& path);

}  // namespace base
