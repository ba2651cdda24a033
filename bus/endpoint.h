// A station on the bus: a kernel CAN interface, or a client of a socketcand server such as the unit's local
// bus.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "bus/can_frame.h"

namespace bus {

// One station. One thread sends and one thread receives, at the same time if need be. Once a call has given
// DOWN every later one does; the owner then opens another station.
class Endpoint {
 public:
  enum class result_t { OK, TIMEOUT, DOWN };

  virtual ~Endpoint() = default;
  // Puts a frame on the bus, waiting at most `timeout_ms` for room. DOWN: the bus is gone, down or off for
  // now.
  virtual result_t Send(const frame_t& frame, int timeout_ms) = 0;
  // The same for the frames of one message, in order and in as few system calls as the bus allows. After
  // TIMEOUT some of them may be on the bus.
  virtual result_t SendAll(std::span<const frame_t> frames, int timeout_ms);
  // Waits at most `timeout_ms` (-1: for ever) for the next data frame, its own excepted. Stamps it with the
  // time at which the bus saw it, as far as that is known.
  virtual result_t Receive(frame_t& frame, int timeout_ms) = 0;
  // Makes a blocked Receive return TIMEOUT. Any thread.
  virtual void Interrupt() = 0;
  // Frames that came from the bus and were lost on the way to Receive, because it was not called often enough
  // or could not read them. Any thread.
  virtual std::uint64_t Lost() const { return 0; }
  // What the last DOWN was, for a person: "vcan0: interface is down".
  virtual std::string Problem() const = 0;
};

// Opens a station by its description: "socketcan:IFACE", "socketcand:HOST:PORT" (bus "can0"), or "local", which
// is the unit of this runtime directory (its socketcand address stands in the file socketcand.address there,
// else 127.0.0.1:29536). Throws std::runtime_error saying what is wrong and what to do.
std::unique_ptr<Endpoint> OpenEndpoint(const std::string& description);

}  // namespace bus
