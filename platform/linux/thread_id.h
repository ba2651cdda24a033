// The kernel's id of the calling thread, cached to save the system call.
#pragma once

#include <sys/types.h>

namespace platform {

// Correct in a forked child too.
pid_t CurrentThreadId();

}  // namespace platform
