// A station on a CAN interface of the kernel.
#pragma once

#include <memory>
#include <string>

#include "bus/endpoint.h"

namespace bus {

// Opens a raw socket on the interface. Throws std::runtime_error with the problem and what to do about it. Only
// OpenEndpoint calls it.
std::unique_ptr<Endpoint> OpenKernelInterface(const std::string& interface);

}  // namespace bus
