#include "unit/j1939/kernel_transport.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <linux/can.h>
#include <linux/can/j1939.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include "src/core/frame_layout.h"

namespace unit {
namespace {

constexpr timeval SEND_TIMEOUT{2, 0};
constexpr std::uint32_t PDU1_LIMIT = 0xF000;  // PGNs below carry the destination in their low byte

struct j1939_address_t {
  std::uint8_t priority;
  std::uint32_t pgn;
  std::uint8_t destination;
  std::uint8_t source;
};

j1939_address_t Split(std::uint32_t identifier) {
  const std::uint32_t pgn = (identifier >> 8U) & 0x3FFFFU;
  const bool isPdu1 = (pgn & 0xFFFFU) < PDU1_LIMIT;
  return {.priority = static_cast<std::uint8_t>(identifier >> 26U),
          .pgn = isPdu1 ? pgn & 0x3FF00U : pgn,
          .destination = static_cast<std::uint8_t>(isPdu1 ? pgn & 0xFFU : J1939_NO_ADDR),
          .source = static_cast<std::uint8_t>(identifier)};
}

std::uint32_t Join(const j1939_address_t& address) {
  const bool isPdu1 = (address.pgn & 0xFFFFU) < PDU1_LIMIT;
  const std::uint32_t pgn = isPdu1 ? address.pgn | address.destination : address.pgn;
  return std::uint32_t{address.priority} << 26U | pgn << 8U | address.source;
}

sockaddr_can SocketAddress(unsigned interfaceIndex, std::uint8_t address, std::uint32_t pgn) {
  sockaddr_can result{};
  result.can_family = AF_CAN;
  result.can_ifindex = static_cast<int>(interfaceIndex);
  result.can_addr.j1939.name = J1939_NO_NAME;
  result.can_addr.j1939.addr = address;
  result.can_addr.j1939.pgn = pgn;
  return result;
}

[[noreturn]] void ThrowSocketError(const char* what) {
  throw std::runtime_error(std::string(what) + ": " + std::strerror(errno) +
                           "; load the kernel's J1939 with: modprobe can-j1939");
}

// Opens a socket that is the station `source` of the bus and may broadcast.
base::Descriptor OpenStation(unsigned interfaceIndex, std::uint8_t source, std::uint32_t pgn) {
  base::Descriptor station(socket(PF_CAN, SOCK_DGRAM | SOCK_CLOEXEC, CAN_J1939));
  if (station.Get() < 0) ThrowSocketError("no J1939 socket");
  const int on = 1;
  setsockopt(station.Get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  const sockaddr_can address = SocketAddress(interfaceIndex, source, pgn);
  if (bind(station.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ThrowSocketError("cannot bind a J1939 socket");
  }
  return station;
}

// Destination and priority of a received message.
void ReadDestination(msghdr& header, j1939_address_t& address) {
  for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
    if (part->cmsg_level != SOL_CAN_J1939) continue;
    if (part->cmsg_type == SCM_J1939_DEST_ADDR) address.destination = *CMSG_DATA(part);
    if (part->cmsg_type == SCM_J1939_PRIO) address.priority = *CMSG_DATA(part);
  }
}

// Reads one message and its address. Returns its bytes as recvmsg does.
ssize_t ReceiveMessage(int receiver, std::span<std::uint8_t> data, j1939_address_t& address) {
  constexpr std::uint8_t DEFAULT_PRIORITY = 6;
  sockaddr_can from{};
  iovec part{data.data(), data.size()};
  alignas(cmsghdr) std::array<char, 128> control{};
  msghdr header{};
  header.msg_name = &from;
  header.msg_namelen = sizeof from;
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  header.msg_control = control.data();
  header.msg_controllen = control.size();
  const ssize_t got = recvmsg(receiver, &header, MSG_DONTWAIT);
  address = {DEFAULT_PRIORITY, from.can_addr.j1939.pgn, J1939_NO_ADDR, from.can_addr.j1939.addr};
  if (got >= 0) ReadDestination(header, address);
  return got;
}

}  // namespace

KernelTransport::KernelTransport(const std::string& interface)
    : interfaceIndex_(if_nametoindex(interface.c_str())) {
  if (interfaceIndex_ == 0) throw std::runtime_error(interface + ": there is no such interface");
  // Bound to the display's address, so that the kernel answers the transfers to the display.
  receiver_ = OpenStation(interfaceIndex_, DISPLAY_FRAME_ID & 0xFFU, J1939_NO_PGN);
  const int on = 1;
  // Success is the flag's value here, not 0, so only a negative result is a failure.
  if (setsockopt(receiver_.Get(), SOL_CAN_J1939, SO_J1939_PROMISC, &on, sizeof on) < 0) {
    ThrowSocketError("cannot receive all J1939 messages");
  }
}

std::string KernelTransport::Send(std::uint32_t identifier, std::span<const std::uint8_t> data) {
  const j1939_address_t address = Split(identifier);
  const std::lock_guard lock(mutex_);
  try {
    const int sender = SendingSocket(address.source);
    const int priority = address.priority;
    setsockopt(sender, SOL_CAN_J1939, SO_J1939_SEND_PRIO, &priority, sizeof priority);
    const sockaddr_can to = SocketAddress(interfaceIndex_, address.destination, address.pgn);
    const ssize_t sent = sendto(sender, data.data(), data.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&to), sizeof to);
    return sent < 0 ? std::strerror(errno) : std::string();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

int KernelTransport::SendingSocket(std::uint8_t source) {
  const auto found = senders_.find(source);
  if (found != senders_.end()) return found->second.Get();
  base::Descriptor station = OpenStation(interfaceIndex_, source, J1939_NO_PGN);
  setsockopt(station.Get(), SOL_SOCKET, SO_SNDTIMEO, &SEND_TIMEOUT, sizeof SEND_TIMEOUT);
  return senders_.emplace(source, std::move(station)).first->second.Get();
}

bool KernelTransport::Receive(transport_message_t& message, int timeout_ms) {
  pollfd polled{receiver_.Get(), POLLIN, 0};
  if (poll(&polled, 1, timeout_ms) <= 0) return false;
  message.data.resize(LARGEST_MULTIPACKET + 1);
  j1939_address_t address{};
  const ssize_t got = ReceiveMessage(receiver_.Get(), message.data, address);
  // Messages of one frame also arrive at the raw socket, which delivers them.
  if (got <= 8 || std::cmp_greater(got, LARGEST_MULTIPACKET)) return false;
  message.data.resize(static_cast<std::size_t>(got));
  message.identifier = Join(address);
  return true;
}

}  // namespace unit
