// Which addresses the HTTP servers of the front panel and of the host simulator accept, and from which clients.
#pragma once

#include <string>
#include <string_view>

#include "base/host_port.h"

namespace http {

using address_t = base::host_port_t;

// Reads "127.0.0.1:8740", "localhost:0" or "[::1]:8740". Throws std::runtime_error for anything else. A host
// other than the loopback is refused because the servers ask for no password.
address_t ParseAddress(const std::string& text);
// Whether a Host header names the loopback. A page of another site could otherwise reach the server by letting
// a name of its own resolve to 127.0.0.1 (DNS rebinding).
bool IsLoopbackHost(std::string_view host);

// Whether a request may change something: it has no Origin header (programs send none) or that of the server's
// own pages.
bool IsOwnOrigin(std::string_view origin, std::string_view host);

}  // namespace http
