// A station that is a client of a socketcand server.
#pragma once

#include <memory>
#include <string>

#include "bus/endpoint.h"

namespace bus {

// Connects to the server's bus "can0" in raw mode. Throws std::runtime_error with the problem; `remedy` is the
// advice for the case that no server answers. Presents the token in the file that the environment variable
// ORVIK_BUS_TOKEN names. Only OpenEndpoint calls it.
std::unique_ptr<Endpoint> OpenSocketcand(const std::string& address, const std::string& remedy);
// The same through the socket of a unit that this user runs. Null where no unit listens at `path`.
std::unique_ptr<Endpoint> OpenLocalSocketcand(const std::string& path);

}  // namespace bus
