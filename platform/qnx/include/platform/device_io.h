// Access to device registers, as Neutrino provides it.
#pragma once

#include <cstdint>

#include <hw/inout.h>
#include <sys/mman.h>
#include <sys/neutrino.h>
