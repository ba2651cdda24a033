// Names of channels: the system's own.
#pragma once

#include <sys/dispatch.h>
#include <sys/iofunc.h>
