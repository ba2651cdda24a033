#include "simulate/loopback_address.h"

#include <algorithm>
#include <charconv>

#include "host/errors.h"

namespace simulate {
namespace {

constexpr int kMostPort = 65535;

// Apart at the last colon that does not stand inside brackets.
std::string_view HostPart(std::string_view text) {
  const std::size_t colon = text.rfind(':');
  const std::size_t bracket = text.rfind(']');
  const bool noPort = colon == std::string_view::npos || (bracket != std::string_view::npos && bracket > colon);
  return noPort ? text : text.substr(0, colon);
}

std::string_view Unbracket(std::string_view host) {
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') return host.substr(1, host.size() - 2);
  return host;
}

// 127.0.0.0/8 in four decimal parts; a name such as "127.0.0.1.example.org" is none.
bool IsLoopback(std::string_view host) {
  const bool decimal = std::ranges::all_of(host, [](char c) { return c == '.' || (c >= '0' && c <= '9'); });
  return host == "localhost" || host == "::1" ||
         (decimal && host.starts_with("127.") && std::ranges::count(host, '.') == 3);
}

}  // namespace

loopback_address_t ParseLoopbackAddress(const std::string& text) {
  const std::string_view host = HostPart(text);
  loopback_address_t address{std::string(Unbracket(host)), -1};
  if (host.size() < text.size()) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + host.size() + 1, end, address.port);
    if (error != std::errc() || stop != end) address.port = -1;
  }
  if (!IsLoopback(address.host) || address.port < 0 || address.port > kMostPort) {
    throw host::usage_error("--http " + text +
                            ": expected an address of this machine alone and a port, such as 127.0.0.1:8741");
  }
  return address;
}

std::string FormatAddress(const loopback_address_t& address) {
  const bool ipv6 = address.host.find(':') != std::string::npos;
  return (ipv6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

bool NamesLoopback(std::string_view host) {
  return IsLoopback(Unbracket(HostPart(host)));
}

bool IsLoopbackOrigin(std::string_view origin) {
  constexpr std::string_view kScheme = "http://";
  return origin.starts_with(kScheme) && NamesLoopback(origin.substr(kScheme.size()));
}

}  // namespace simulate
