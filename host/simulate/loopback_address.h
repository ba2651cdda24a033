// Addresses of this machine's loopback, the only ones that the simulator listens on: it asks for no password.
#pragma once

#include <string>
#include <string_view>

namespace simulate {

struct loopback_address_t {
  std::string host;  // "127.0.0.1", "::1" or "localhost"
  int port = 0;      // 0: any free one
};

// Reads "127.0.0.1:8741", "localhost:0" or "[::1]:8741". Throws host::usage_error for anything else.
loopback_address_t ParseLoopbackAddress(const std::string& text);
std::string FormatAddress(const loopback_address_t& address);

// Whether a Host header names the loopback; a page from elsewhere could otherwise come in under a name of its
// own.
bool NamesLoopback(std::string_view host);
// Whether a request's Origin is this machine's loopback, whatever the port: the front panel's page is one.
// Programs send none.
bool IsLoopbackOrigin(std::string_view origin);

}  // namespace simulate
