// Virtual time: the application's threads are tasks in one thread of this process. A task runs until it sleeps
// or waits; then the task that is due next runs, of several the one that has waited longest. Computing takes no
// time, so that every run is the same and ten minutes pass in a second.
//
// The program brings its own nanosleep, clock_gettime, sigsuspend, system, perror and _exit. A task must
// not hold a mutex while it waits.
#pragma once

#include <cstdint>
#include <functional>

namespace film {

std::int64_t Now_us();
void StartTask(std::function<void()> body);  // begins when the caller waits
void Sleep(std::int64_t time_us);
void Block();  // until WakeBlocked, which wakes all
void WakeBlocked();
void RaiseTermination();  // SIGUSR1

}  // namespace film
