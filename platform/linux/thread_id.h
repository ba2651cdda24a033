// The kernel's id of the calling thread, kept so that asking costs no system call.
#pragma once

#include <sys/types.h>

namespace platform {

// Right after a fork too.
pid_t CurrentThreadId();

}  // namespace platform
