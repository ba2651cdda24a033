// The rights and limits of this process.
#pragma once

#include <string>

namespace platform {

// Takes from this process and its children what they do not need. To be called first in main. On Linux, files
// and shared objects that they make are for this user alone (umask 0077, whatever mode the code passes), and no
// program that they execute gains rights (set-user-id programs do not). On Neutrino it changes nothing, because
// the unit has one user.
void RestrictProcess();

// Raises this process's limit of file descriptors as far as the system lets it, and compares it with `needed`,
// the number that the process may have open at the same time. Returns the problem and what to do about it;
// empty where there are enough. A process that begins with too few fails later, at whatever it opens last. Its
// children have the raised limit too. Opens nothing. On Neutrino always empty.
std::string EnsureDescriptors(unsigned needed);

// The environment variable with which `unit run --realtime` tells the application to call EnterRealTime.
constexpr const char* REAL_TIME_VARIABLE = "ORVIK_REALTIME";

// Prepares this process for real time. Called in main, before other threads start. On Linux:
//
// - timers of ordinary threads end within a microsecond of their time (the usual slack is 50 us);
// - memory, once used, stays in RAM (mlockall with MCL_ONFAULT: unused parts of stacks take none);
// - RaiseThread (threads.h) has an effect.
//
// Returns what the system refuses, and what to do about it; empty where it refuses nothing. On Neutrino, whose
// threads have real-time priorities anyway, it changes nothing.
std::string EnterRealTime();

}  // namespace platform
