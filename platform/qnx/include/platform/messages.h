// Synchronous messages and pulses: the system's own.
#pragma once

#include <sched.h>
#include <sys/netmgr.h>
#include <sys/neutrino.h>
