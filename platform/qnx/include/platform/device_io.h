// Device registers: the system's own.
#pragma once

#include <cstdint>

#include <hw/inout.h>
#include <sys/mman.h>
#include <sys/neutrino.h>
