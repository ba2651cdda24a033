// The kernel's id of the calling thread, cached to save the system call.
#pragma once

#include <sys/types.h>

namespace platform {

// 0 until the thread asks for its id, and again in a forked child.
extern constinit thread_local pid_t cachedThreadId;
pid_t AskForThreadId();

// Correct in a forked child too.
inline pid_t CurrentThreadId() {
  return cachedThreadId != 0 ? cachedThreadId : AskForThreadId();
}

}  // namespace platform
