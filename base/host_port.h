// The address of a server as text: HOST:PORT.
#pragma once

#include <string>
#include <string_view>

namespace base {

struct host_port_t {
  std::string host;  // a name or a number; an IPv6 address without its brackets
  int port = 0;      // 0 to 65535; for a server to listen on, 0 means any free port
};

// Reads "127.0.0.1:8740", "desk:29536" or "[::1]:8740". Throws std::runtime_error with what is wrong ("it has
// no port"); the caller adds the text itself and what to write instead.
host_port_t ParseHostPort(std::string_view text);
// The same text again: an IPv6 address stands in brackets.
std::string FormatHostPort(const host_port_t& address);

// The host of a text in which the port may be missing, such as a Host header; without brackets.
std::string_view HostOf(std::string_view text);

}  // namespace base
