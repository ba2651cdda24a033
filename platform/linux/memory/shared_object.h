// Removing the shared objects that OpenSharedObject creates.
#pragma once

#include <string_view>

namespace platform {

// Removes the memory of an object; `escapedName` is the name part of its claim file.
void RemoveSharedMemory(std::string_view escapedName);
// Removes an object and its claim if this process created it and it still exists.
void RemoveOwnSharedObject(const char* name);

}  // namespace platform
