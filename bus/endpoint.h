// A station on the bus: a kernel CAN interface, or a client of a socketcand server such as the unit's local
// bus.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "bus/can_frame.h"

namespace bus {

// Thrown for a text that names no bus, or a server's address that is none: nothing was tried.
class AddressError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One station. One thread may send while another receives. Once a call has returned DOWN, every later call does
// too; the owner then opens another station.
class Endpoint {
 public:
  enum class result_t { OK, TIMEOUT, DOWN };

  virtual ~Endpoint() = default;
  // Sends a frame; waits at most `timeout_ms` for room. DOWN: the interface or the server is gone, or the bus
  // is off.
  virtual result_t Send(const frame_t& frame, int timeout_ms) = 0;
  // Sends the frames of one message, in order and in as few system calls as the bus allows. After TIMEOUT some
  // of them may be on the bus.
  virtual result_t SendAll(std::span<const frame_t> frames, int timeout_ms);
  // Waits at most `timeout_ms` (-1: for ever) for the next data frame of another station. Sets the frame's time
  // to that of the bus where it is known, else to the present.
  virtual result_t Receive(frame_t& frame, int timeout_ms) = 0;
  // Makes a blocked Receive return TIMEOUT. Any thread.
  virtual void Interrupt() = 0;
  // Counts the frames that were lost between the bus and Receive, because Receive was not called often enough
  // or the frames could not be read. Any thread.
  virtual std::uint64_t Lost() const { return 0; }
  // The cause of DOWN, for the user: "vcan0: interface is down".
  virtual std::string Problem() const = 0;
};

// Opens a station by its description: "socketcan:IFACE", "socketcand:HOST:PORT" (bus "can0"), or "local" for
// the unit of this runtime directory: through its socket bus.socket; where there is none, at the address in the
// file socketcand.address, else at 127.0.0.1:29536. Throws std::runtime_error with the problem and what to do
// about it.
std::unique_ptr<Endpoint> OpenEndpoint(const std::string& description);

}  // namespace bus
