// This program's station on the bus, which comes back by itself when the bus was away for a while.
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
  // Opens the bus; throws failure. `stop` ends every wait.
  Station(std::string bus, const StopSignal& stop);

  // The frames of one message. When the bus is lost, says so on standard error and tries for ten seconds to
  // join it again, then throws failure. False: stopped, and not sent.
  bool Send(std::span<const bus::frame_t> frames);
  // The next frame within about `timeout_ms`; false when there was none, or on a stop. Loss as above.
  bool Receive(bus::frame_t& frame, int timeout_ms);
  // A frame that has come already, also after a stop. Does not wait.
  bool ReceiveWaiting(bus::frame_t& frame) {
    return endpoint_->Receive(frame, 0) == bus::Endpoint::result_t::OK;
  }
  // From now on a thread of the station reads what comes and hands it to `hear` (empty: throws it away), so
  // that a sender who has no time to listen is never held up by the bus. Receive is not called any more.
  using hear_t = std::function<void(const bus::frame_t&)>;
  void StartReceiving(hear_t hear = {});
  // Frames that came and were lost before they could be received.
  std::uint64_t Lost() const { return lostBefore_ + endpoint_->Lost(); }

 private:
  bool Rejoin();
  void StartReceiver();

  const std::string bus_;
  const StopSignal& stop_;
  std::unique_ptr<bus::Endpoint> endpoint_;
  std::uint64_t lostBefore_ = 0;  // on connections that are gone
  bool receiving_ = false;
  hear_t hear_;            // the draining thread's
  std::jthread receiver_;  // uses endpoint_, so it ends first
};

}  // namespace host
