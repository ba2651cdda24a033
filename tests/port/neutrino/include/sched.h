// POSIX's calls are the host's; the priority of a thread is asked as on Neutrino.
#pragma once

#include_next <sched.h>
#include <sys/types.h>

extern "C" int getprio(pid_t tid);
