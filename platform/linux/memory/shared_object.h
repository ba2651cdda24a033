// The shared objects behind OpenSharedObject.
#pragma once

#include <string_view>

namespace platform {

// Removes the memory of an object; `escapedName` is the name as the claim file of the object carries it.
void RemoveSharedMemory(std::string_view escapedName);
// Removes an object if this process made it and nobody has removed it since.
void RemoveOwnSharedObject(const char* name);

}  // namespace platform
