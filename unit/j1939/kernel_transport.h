// Messages of more than one frame on a kernel bus, through the kernel's J1939 sockets (CAN_J1939), which run
// the transport protocol of SAE J1939-21.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "unit/j1939/j1939_requests.h"
#include "unit/j1939/local_bus.h"

namespace unit {

// A message as it was put together: its identifier is made of priority, PGN, destination (PDU 1) and source.
struct transport_message_t {
  std::uint32_t identifier = 0;
  std::vector<std::uint8_t> data;
};

// Sends and receives on one interface. Any thread may call, one at a time in Receive.
class KernelTransport {
 public:
  // Throws std::runtime_error where the interface or the kernel's J1939 is not there.
  explicit KernelTransport(const std::string& interface);

  // Sends a message, waiting at most two seconds for the transfer to begin. Empty when it has, else what is
  // wrong.
  std::string Send(std::uint32_t identifier, std::span<const std::uint8_t> data);
  // Waits at most `timeout_ms` for a message of more than eight bytes. False when there is none.
  bool Receive(transport_message_t& message, int timeout_ms);

 private:
  int SendingSocket(std::uint8_t source);

  unsigned interfaceIndex_ = 0;
  base::Descriptor receiver_;
  std::mutex mutex_;                                  // guards senders_
  std::map<std::uint8_t, base::Descriptor> senders_;  // by source address
};

}  // namespace unit
