// Removing the files of killed processes from the runtime directory.
#pragma once

namespace platform {

// Calls RemoveRuntimeLeftovers (platform/paths.h) the first time that it is called in this process.
void RemoveRuntimeLeftoversOnce();

}  // namespace platform
