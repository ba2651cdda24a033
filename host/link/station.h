// hx7's connection to the bus, which reconnects by itself after a short loss.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <thread>

#include "bus/endpoint.h"
#include "host/link/stop_signal.h"

namespace host {

class Station {
 public:
  // Opens the bus. `stop` ends every wait. Throws Failure.
  Station(std::string bus, const StopSignal& stop);

  // Sends the frames of one message. If the bus is lost, prints a line on standard error and tries for ten
  // seconds to reconnect, then throws Failure. Returns false if a stop came first; the frames are then not
  // sent.
  bool Send(std::span<const bus::frame_t> frames);
  // Waits up to about `timeout_ms` for the next frame. Returns false if none came, or on a stop. A lost bus as
  // in Send.
  bool Receive(bus::frame_t& frame, int timeout_ms);
  // Takes a frame that has arrived already, also after a stop. Does not wait.
  bool ReceiveWaiting(bus::frame_t& frame) {
    return endpoint_->Receive(frame, 0) == bus::Endpoint::result_t::OK;
  }
  // From now on a thread of the station reads every frame and passes it to `onFrame` (empty: drops it). A
  // program that only sends needs this: the bus would stop accepting frames from a station that does not read.
  // Receive must not be called any more.
  using on_frame_t = std::function<void(const bus::frame_t&)>;
  void StartReceiving(on_frame_t onFrame = {});
  // Frames that were lost because they arrived faster than this program read them.
  std::uint64_t Lost() const { return lostBefore_ + endpoint_->Lost(); }

 private:
  bool Rejoin();
  void ConnectAgain();
  void StartReceiver();

  const std::string bus_;
  const StopSignal& stop_;
  std::unique_ptr<bus::Endpoint> endpoint_;
  std::uint64_t lostBefore_ = 0;  // on earlier connections
  bool receiving_ = false;
  on_frame_t onFrame_;     // called on the receiving thread
  std::jthread receiver_;  // uses endpoint_, so it is destroyed first
};

}  // namespace host
