#include "unit/j1939/bus_listener.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/host_port.h"
#include "base/local_socket.h"

namespace unit {
namespace {

constexpr int SOCKET_BUFFER = 256 * 1024;  // what the kernel holds for a station that does not read
constexpr int BACKLOG = 16;

std::string Name(const sockaddr* address, socklen_t size) {
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  getnameinfo(address, size, host.data(), host.size(), port.data(), port.size(),
              NI_NUMERICHOST | NI_NUMERICSERV);
  return base::FormatHostPort({host.data(), std::atoi(port.data())});
}

bool IsLoopback(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    sockaddr_in v4{};
    std::memcpy(&v4, address, sizeof v4);
    return ntohl(v4.sin_addr.s_addr) >> 24U == IN_LOOPBACKNET;
  }
  sockaddr_in6 v6{};
  if (address->sa_family == AF_INET6) std::memcpy(&v6, address, sizeof v6);
  return address->sa_family == AF_INET6 && IN6_IS_ADDR_LOOPBACK(&v6.sin6_addr);
}

base::host_port_t ParsePlace(const std::string& address) {
  try {
    return base::ParseHostPort(address);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("\"" + address + "\" is no address: " + error.what() + "; write HOST:PORT");
  }
}

// The first address that the system finds for "HOST:PORT".
class ResolvedAddress {
 public:
  explicit ResolvedAddress(const std::string& address) {
    const base::host_port_t place = ParsePlace(address);
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    const int error = getaddrinfo(place.host.c_str(), std::to_string(place.port).c_str(), &hints, &list_);
    if (error != 0) {
      throw std::runtime_error("\"" + address + "\": " + gai_strerror(error) + "; write HOST:PORT");
    }
  }
  ~ResolvedAddress() { freeaddrinfo(list_); }
  ResolvedAddress(const ResolvedAddress&) = delete;
  ResolvedAddress& operator=(const ResolvedAddress&) = delete;
  const addrinfo& Get() const { return *list_; }

 private:
  addrinfo* list_ = nullptr;
};

[[noreturn]] void FailToListen(const std::string& address, int error) {
  throw std::runtime_error("cannot listen on " + address + ": " + std::strerror(error) +
                           "; choose another address with --socketcand 127.0.0.1:PORT (port 0: any free one)");
}

}  // namespace

BusListener::BusListener(const std::string& address, std::string socketPath)
    : socketPath_(std::move(socketPath)) {
  ListenOnTcp(address);
  if (!socketPath_.empty()) local_ = base::ListenLocally(socketPath_);
}

BusListener::~BusListener() {
  if (local_.Get() >= 0) unlink(socketPath_.c_str());
}

void BusListener::ListenOnTcp(const std::string& address) {
  const ResolvedAddress resolved(address);
  const addrinfo& info = resolved.Get();
  if (!IsLoopback(info.ai_addr)) {
    throw std::runtime_error("the bus may be served on the loopback only, not on " + address +
                             "; use --socketcand 127.0.0.1:PORT");
  }
  tcp_ = base::Descriptor(socket(info.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int on = 1;
  setsockopt(tcp_.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(tcp_.Get(), info.ai_addr, info.ai_addrlen) != 0 || listen(tcp_.Get(), BACKLOG) != 0) {
    FailToListen(address, errno);
  }
  sockaddr_storage bound{};
  socklen_t size = sizeof bound;
  auto* name = reinterpret_cast<sockaddr*>(&bound);
  if (getsockname(tcp_.Get(), name, &size) != 0) FailToListen(address, errno);
  address_ = Name(name, size);
}

base::Descriptor BusListener::Accept(door_t door) const {
  base::Descriptor socket(accept4(Get(door), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  const int on = 1;
  if (door == door_t::TCP) setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(socket.Get(), SOL_SOCKET, SO_SNDBUF, &SOCKET_BUFFER, sizeof SOCKET_BUFFER);
  return socket;
}

}  // namespace unit
