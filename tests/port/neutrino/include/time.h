// POSIX's calls are the host's; the conversion of nanoseconds is Neutrino's.
#pragma once

#include <stdint.h>
#include_next <time.h>

extern "C" void nsec2timespec(timespec* result, uint64_t nanoseconds);
