// Virtual time: the application's threads are tasks in one thread of this process. A task runs until it sleeps
// or waits; then the task that is due next runs, of several the one that has waited longest. Computing takes no
// time, so that every run is the same and a minute passes in a second.
//
// The program brings its own nanosleep, clock_gettime, sigsuspend, system, perror and _exit. A task must
// not hold a mutex while it waits.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace golden {

std::int64_t Now_us();
void StartTask(std::function<void()> body);  // begins when the caller waits
void Sleep(std::int64_t time_us);
void Block();  // until WakeBlocked, which wakes all
void WakeBlocked();
void RaiseTermination();  // SIGUSR1

// Prints an event: the time in microseconds, its kind and what happened, with tabs between and a record
// separator (0x1E) at the end.
void Record(const char* kind, const std::string& text);

}  // namespace golden
