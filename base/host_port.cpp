#include "base/host_port.h"

#include <charconv>
#include <stdexcept>

namespace base {
namespace {

constexpr int MOST_PORT = 65535;

// Everything before the port's colon; the whole text where it has no port. A colon inside the brackets of an
// IPv6 address is none.
std::string_view BeforePort(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  const std::size_t bracket = text.rfind(']');
  const bool noPort = colon == std::string_view::npos || (bracket != std::string_view::npos && bracket > colon);
  return noPort ? text : text.substr(0, colon);
}

int ParsePort(std::string_view text) {
  int port = -1;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, port);
  if (error != std::errc{} || stop != end || port < 0 || port > MOST_PORT) {
    throw std::runtime_error("the port is 0 to 65535");
  }
  return port;
}

}  // namespace

std::string_view HostOf(std::string_view text) {
  const std::string_view host = BeforePort(text);
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') return host.substr(1, host.size() - 2);
  return host;
}

host_port_t ParseHostPort(std::string_view text) {
  const std::size_t end = BeforePort(text).size();
  if (end == text.size()) throw std::runtime_error("it has no port");
  if (end == 0) throw std::runtime_error("it has no host");
  return {std::string(HostOf(text)), ParsePort(text.substr(end + 1))};
}

std::string FormatHostPort(const host_port_t& address) {
  const bool ipv6 = address.host.find(':') != std::string::npos;
  return (ipv6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

}  // namespace base
