// Removing what killed processes left in the runtime directory.
#pragma once

namespace platform {

// RemoveRuntimeLeftovers, the first time that this process makes a channel.
void RemoveRuntimeLeftoversOnce();

}  // namespace platform
