#include "http/address.h"

#include <stdexcept>

#include <arpa/inet.h>

namespace http {
namespace {

// 127.0.0.0/8, as four decimal numbers: a name such as "127.0.0.1.example.org" or "127.0.0." is another
// machine's. inet_pton reads to a zero byte only, which a header may hold.
bool IsLoopbackIpv4(std::string_view host) {
  in_addr address{};
  return host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string_view::npos &&
         ::inet_pton(AF_INET, std::string(host).c_str(), &address) == 1;
}

bool IsLoopbackName(std::string_view host) {
  return host == "localhost" || host == "::1" || IsLoopbackIpv4(host);
}

bool IsOwnOrigin(std::string_view origin, std::string_view host) {
  constexpr std::string_view SCHEME = "http://";
  if (origin.empty()) return true;
  return origin.starts_with(SCHEME) && origin.substr(SCHEME.size()) == host;
}

}  // namespace

address_t ParseAddress(const std::string& text) {
  try {
    address_t address = base::ParseHostPort(text);
    if (!IsLoopbackName(address.host)) throw std::runtime_error("it is for this machine alone");
    return address;
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("--http " + text + ": " + error.what() + "; use for example 127.0.0.1:8740");
  }
}

bool IsLoopbackHost(std::string_view host) {
  return IsLoopbackName(base::HostOf(host));
}

bool IsOwnRequest(const request_source_t& source, std::string_view host) {
  if (!IsOwnOrigin(source.origin, host)) return false;
  if (source.site.empty() || source.site == "same-origin" || source.site == "none") return true;
  return source.mode == "navigate" && source.path == "/" && source.origin.empty();
}

}  // namespace http
