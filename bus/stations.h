// The two kinds of station behind OpenEndpoint. Inside this folder only. Both throw std::runtime_error saying
// what is wrong and what to do.
#pragma once

#include <memory>
#include <string>

#include "bus/endpoint.h"

namespace bus {

// A raw socket of the kernel on one CAN interface.
std::unique_ptr<Endpoint> OpenKernelInterface(const std::string& interface);
// A client of a socketcand server, in raw mode on its bus "can0". `remedy` says what to do when nobody answers.
std::unique_ptr<Endpoint> OpenSocketcand(const std::string& address, const std::string& remedy);

}  // namespace bus
