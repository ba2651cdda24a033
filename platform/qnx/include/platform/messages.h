// Synchronous messages and pulses of Neutrino.
#pragma once

#include <sched.h>
#include <sys/netmgr.h>
#include <sys/neutrino.h>
