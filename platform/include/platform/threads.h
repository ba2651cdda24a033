// Starting detached threads with a name and a priority.
#pragma once

namespace platform {

// Scheduling of a new thread; priority 0 leaves the default of SCHED_OTHER.
struct thread_attributes_t {
  const char* name;  // Linux keeps the first 15 characters
  int priority = 0;
};

// Starts `body(argument)` as a detached thread with SIGUSR1 blocked, so that only the main thread gets the
// signal. Returns 0 or an error number.
int StartDetachedThread(const thread_attributes_t& attributes, void* (*body)(void*), void* argument);

}  // namespace platform
