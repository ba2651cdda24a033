#include "host/link/station.h"

#include <algorithm>
#include <chrono>
#include <iostream>

#include "base/address_file.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;
using Result = bus::Endpoint::result_t;

constexpr int SEND_WAIT_MS = 100;  // between two checks of the stop signal
constexpr int RECEIVE_WAIT_MS = 100;
constexpr int MESSAGE_WAIT_MS = 2000;
// A display that is busy accepts a frame every two seconds or slower.
constexpr std::chrono::seconds SEND_PATIENCE{10};
constexpr std::chrono::seconds REJOIN_PATIENCE{10};
constexpr std::chrono::milliseconds REJOIN_PAUSE{250};

std::unique_ptr<bus::Endpoint> Open(const std::string& bus) {
  try {
    return bus::OpenEndpoint(bus);
  } catch (const bus::AddressError& error) {
    throw UsageError(error.what());
  } catch (const base::RuntimeFolderError& error) {
    throw UsageError(error.what());
  } catch (const std::runtime_error& error) {
    throw Failure(error.what());
  }
}

}  // namespace

Station::Station(std::string bus, const StopSignal& stop)
    : bus_(std::move(bus)), stop_(stop), endpoint_(Open(bus_)) {}

void Station::StartReceiver() {
  receiver_ = std::jthread([this, endpoint = endpoint_.get()](const std::stop_token& end) {
    const std::stop_callback wake(end, [endpoint] { endpoint->Interrupt(); });
    bus::frame_t frame;
    while (!end.stop_requested()) {
      const Result result = endpoint->Receive(frame, -1);
      if (result == Result::DOWN) return;
      if (result == Result::OK && onFrame_) onFrame_(frame);
    }
  });
}

void Station::StartReceiving(on_frame_t onFrame) {
  receiving_ = true;
  onFrame_ = std::move(onFrame);
  StartReceiver();
}

void Station::ConnectAgain() {
  auto joined = bus::OpenEndpoint(bus_);
  lostBefore_ += endpoint_->Lost();
  endpoint_ = std::move(joined);
}

bool Station::Rejoin() {
  std::cerr << "hx7: lost the bus: " + endpoint_->Problem() + "; trying for " +
                   std::to_string(REJOIN_PATIENCE.count()) + " s to reconnect\n";
  receiver_ = {};
  const auto end = Clock::now() + REJOIN_PATIENCE;
  for (bool joined = false; !joined;) {
    if (!stop_.WaitUntil(Clock::now() + REJOIN_PAUSE)) return false;
    try {
      ConnectAgain();
      joined = true;
    } catch (const std::runtime_error& error) {
      if (Clock::now() >= end) throw Failure(std::string("the bus did not come back: ") + error.what());
    }
  }
  std::cerr << "hx7: joined the bus again\n";
  if (receiving_) StartReceiver();
  return true;
}

bool Station::Send(std::span<const bus::frame_t> frames) {
  const auto end = Clock::now() + SEND_PATIENCE;
  // Half a message must not be sent again from its beginning, so a message of several frames has one long wait.
  const int wait_ms = frames.size() == 1 ? SEND_WAIT_MS : MESSAGE_WAIT_MS;
  while (!stop_.Stopped()) {
    const Result result = endpoint_->SendAll(frames, wait_ms);
    if (result == Result::OK) return true;
    if (result == Result::DOWN && !Rejoin()) return false;
    if (result == Result::TIMEOUT && Clock::now() >= end)
      throw Failure("the bus " + bus_ +
                    " accepts no frames; is another station on it, and its cable connected?");
  }
  return false;
}

bool Station::Receive(bus::frame_t& frame, int timeout_ms) {
  const auto end = Clock::now() + std::chrono::milliseconds(timeout_ms);
  while (!stop_.Stopped()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    const int wait_ms = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, RECEIVE_WAIT_MS));
    const Result result = endpoint_->Receive(frame, wait_ms);
    if (result == Result::OK) return true;
    if (result == Result::DOWN && !Rejoin()) return false;
    if (result == Result::TIMEOUT && Clock::now() >= end) return false;
  }
  return false;
}

}  // namespace host
