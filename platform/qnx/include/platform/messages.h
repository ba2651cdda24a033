// Synchronous messages and pulses: the system's own.
#pragma once

#include <sys/netmgr.h>
#include <sys/neutrino.h>
#include <sys/sched.h>
