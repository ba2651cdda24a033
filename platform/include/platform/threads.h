// Detached threads with a name, policy and priority, as every worker of the application is started.
#pragma once

namespace platform {

// Scheduling of a new thread; priority 0 leaves the default of SCHED_OTHER.
struct thread_attributes_t {
  const char* name;  // 15 characters are kept where the system has no room for more
  int priority = 0;
};

// Starts `body(argument)` as a detached thread on which SIGUSR1 is blocked, so that the signal reaches the main
// thread only. Returns 0 or an error number.
int StartDetachedThread(const thread_attributes_t& attributes, void* (*body)(void*), void* argument);

}  // namespace platform
