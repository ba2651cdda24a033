// A station that is a client of a socketcand server.
#pragma once

#include <memory>
#include <string>

#include "bus/endpoint.h"

namespace bus {

// Connects in raw mode to the server's bus "can0". Throws std::runtime_error that says what is wrong; `remedy`
// says what to do when no server answers. Called by OpenEndpoint alone.
std::unique_ptr<Endpoint> OpenSocketcand(const std::string& address, const std::string& remedy);

}  // namespace bus
