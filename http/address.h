// The addresses that the front panel and the host simulator listen on over HTTP, and who may ask them.
#pragma once

#include <string>
#include <string_view>

#include "base/host_port.h"

namespace http {

using address_t = base::host_port_t;

// Reads "127.0.0.1:8740", "localhost:0" or "[::1]:8740". Throws std::runtime_error for anything else, and for a
// host that is not the loopback: there are no passwords.
address_t ParseAddress(const std::string& text);
// Whether a Host header names the loopback: a page from elsewhere could otherwise come in under a name
// of its own.
bool IsLoopbackHost(std::string_view host);

// Whether a request that changes something may do so: programs send no Origin, pages from here their own.
bool IsOwnOrigin(std::string_view origin, std::string_view host);

}  // namespace http
