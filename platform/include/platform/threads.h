// Starting detached threads with a name and a priority, and what a thread does for itself: its name, its
// real-time priority, and its wait for a time of the clock.
#pragma once

#include <ctime>

namespace platform {

// Scheduling of a new thread; priority 0 leaves the default of SCHED_OTHER.
struct thread_attributes_t {
  const char* name;  // Linux keeps the first 15 characters
  int priority = 0;
};

// Starts `body(argument)` as a detached thread with SIGUSR1 blocked, so that only the main thread gets the
// signal. Returns 0 or an error number.
int StartDetachedThread(const thread_attributes_t& attributes, void* (*body)(void*), void* argument);

// Names the calling thread, for tools that list threads. On Linux the threads that it starts from now on begin
// with the same name.
void NameThread(const char* name);

// Gives the calling thread the lowest real-time priority (SCHED_FIFO), so that no ordinary program delays it.
// Threads and programs that it starts inherit it. No effect unless EnterRealTime (process.h) was called and the
// system allowed it.
void RaiseThread();

// One thread waits with it. Its constructor takes a file descriptor on Linux; without one, and on Neutrino,
// Wait returns every 100 us.
class ClockAlarm {
 public:
  ClockAlarm();
  ~ClockAlarm();
  ClockAlarm(const ClockAlarm&) = delete;
  ClockAlarm& operator=(const ClockAlarm&) = delete;

  // Returns when the real-time clock shows `due` or later, or when somebody sets the clock, or before. The
  // caller looks at the clock and waits again.
  void Wait(const std::timespec& due);

 private:
  int descriptor_ = -1;
};

}  // namespace platform
