#include "http/address.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace http {
namespace {

constexpr int MOST_PORT = 65535;

[[noreturn]] void Refuse(const std::string& text, const std::string& why) {
  throw std::runtime_error("--http " + text + ": " + why + "; use for example 127.0.0.1:8740");
}

// Host and port, apart at the last colon; an IPv6 address stands in brackets.
std::string_view HostPart(std::string_view text) {
  const std::size_t end = text.rfind(':');
  const std::size_t bracket = text.rfind(']');
  const bool noPort = end == std::string_view::npos || (bracket != std::string_view::npos && bracket > end);
  return noPort ? text : text.substr(0, end);
}

std::string_view Unbracket(std::string_view host) {
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') return host.substr(1, host.size() - 2);
  return host;
}

// 127.0.0.0/8 with four decimal parts; a name such as "127.0.0.1.example.org" is none.
bool IsLoopbackIpv4(std::string_view host) {
  const auto digitsAndPoints =
      std::all_of(host.begin(), host.end(), [](char c) { return c == '.' || (c >= '0' && c <= '9'); });
  return host.starts_with("127.") && digitsAndPoints && std::count(host.begin(), host.end(), '.') == 3;
}

bool IsLoopbackName(std::string_view host) {
  return host == "localhost" || host == "::1" || IsLoopbackIpv4(host);
}

}  // namespace

address_t ParseAddress(const std::string& text) {
  const std::string_view host = HostPart(text);
  if (host.size() >= text.size()) Refuse(text, "it has no port");
  const char* begin = text.data() + host.size() + 1;
  const char* end = text.data() + text.size();
  address_t address{std::string(Unbracket(host)), -1};
  const auto [stop, error] = std::from_chars(begin, end, address.port);
  if (error != std::errc{} || stop != end || address.port < 0 || address.port > MOST_PORT) {
    Refuse(text, "the port is 0 to 65535");
  }
  if (!IsLoopbackName(address.host)) Refuse(text, "it is for this machine alone");
  return address;
}

std::string FormatAddress(const address_t& address) {
  const bool ipv6 = address.host.find(':') != std::string::npos;
  return (ipv6 ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port);
}

bool IsLoopbackHost(std::string_view host) {
  return IsLoopbackName(Unbracket(HostPart(host)));
}

bool IsOwnOrigin(std::string_view origin, std::string_view host) {
  constexpr std::string_view SCHEME = "http://";
  if (origin.empty()) return true;
  return origin.starts_with(SCHEME) && origin.substr(SCHEME.size()) == host;
}

}  // namespace http
