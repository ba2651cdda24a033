// Where programs join the local bus: a TCP port of the loopback, and a socket in the runtime directory that
// only this user can open.
#pragma once

#include <cstdint>
#include <string>

#include "base/descriptor.h"

namespace unit {

enum class door_t : std::uint8_t { TCP, LOCAL };

class BusListener {
 public:
  // Listens on "HOST:PORT" of the loopback (port 0: any free one), and at `socketPath` where it is not empty.
  // Throws std::runtime_error with the problem and what to do about it.
  BusListener(const std::string& address, std::string socketPath);
  ~BusListener();
  BusListener(const BusListener&) = delete;
  BusListener& operator=(const BusListener&) = delete;

  // With the port that the system chose: "127.0.0.1:29536".
  const std::string& Address() const { return address_; }
  // The listening descriptor; -1 for a door that is not there.
  int Get(door_t door) const { return door == door_t::TCP ? tcp_.Get() : local_.Get(); }
  // The next connection, which does not block; an empty descriptor where there is none.
  base::Descriptor Accept(door_t door) const;

 private:
  void ListenOnTcp(const std::string& address);

  base::Descriptor tcp_;
  base::Descriptor local_;
  std::string address_;
  std::string socketPath_;
};

}  // namespace unit
