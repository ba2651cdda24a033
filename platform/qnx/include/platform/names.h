// Registering and finding channels by name, as Neutrino provides it.
#pragma once

#include <sys/dispatch.h>
#include <sys/iofunc.h>
