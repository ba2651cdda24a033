// A station that is a client of a socketcand server.
#pragma once

#include <memory>
#include <string>

#include "bus/endpoint.h"

namespace bus {

// Connects to the server's bus "can0" in raw mode. Throws std::runtime_error with the problem; `remedy` is the
// advice for the case that no server answers. Only OpenEndpoint calls it.
std::unique_ptr<Endpoint> OpenSocketcand(const std::string& address, const std::string& remedy);

}  // namespace bus
