#include "host/link/station.h"

#include <algorithm>
#include <chrono>
#include <iostream>

#include "host/protocol/errors.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;
using Result = bus::Endpoint::Result;

constexpr int kSendWait_ms = 100;  // between two looks at the stop signal
constexpr int kReceiveWait_ms = 100;
constexpr int kMessageWait_ms = 2000;
constexpr std::chrono::milliseconds kSendPatience{kMessageWait_ms};
constexpr std::chrono::seconds kRejoinPatience{10};
constexpr std::chrono::milliseconds kRejoinPause{250};

std::unique_ptr<bus::Endpoint> Open(const std::string& bus) {
  try {
    return bus::OpenEndpoint(bus);
  } catch (const std::runtime_error& error) {
    throw failure(error.what());
  }
}

}  // namespace

Station::Station(std::string bus, const StopSignal& stop)
    : bus_(std::move(bus)), stop_(stop), endpoint_(Open(bus_)) {}

void Station::StartDrain() {
  drain_ = std::jthread([this, endpoint = endpoint_.get()](const std::stop_token& end) {
    const std::stop_callback wake(end, [endpoint] { endpoint->Interrupt(); });
    bus::frame_t frame;
    while (!end.stop_requested()) {
      const Result result = endpoint->Receive(frame, -1);
      if (result == Result::kDown) return;
      if (result == Result::kOk && hear_) hear_(frame);
    }
  });
}

void Station::Drain(hear_t hear) {
  draining_ = true;
  hear_ = std::move(hear);
  StartDrain();
}

bool Station::Rejoin() {
  std::cerr << "hx7: lost the bus: " + endpoint_->Problem() + "; trying to join it again for " +
                   std::to_string(kRejoinPatience.count()) + " s\n";
  drain_ = {};
  const auto end = Clock::now() + kRejoinPatience;
  for (;;) {
    if (!stop_.WaitUntil(Clock::now() + kRejoinPause)) return false;
    try {
      auto joined = bus::OpenEndpoint(bus_);
      lostBefore_ += endpoint_->Lost();
      endpoint_ = std::move(joined);
      break;
    } catch (const std::runtime_error& error) {
      if (Clock::now() >= end) throw failure(std::string("the bus did not come back: ") + error.what());
    }
  }
  std::cerr << "hx7: joined the bus again\n";
  if (draining_) StartDrain();
  return true;
}

bool Station::Send(std::span<const bus::frame_t> frames) {
  const auto end = Clock::now() + kSendPatience;
  // A message that did not go out whole must not begin again: it is waited for in one piece.
  const int wait_ms = frames.size() == 1 ? kSendWait_ms : kMessageWait_ms;
  while (!stop_.Stopped()) {
    const Result result = endpoint_->SendAll(frames, wait_ms);
    if (result == Result::kOk) return true;
    if (result == Result::kDown && !Rejoin()) return false;
    if (result == Result::kTimeout && Clock::now() >= end) throw failure(bus_ + ": the bus takes no frames");
  }
  return false;
}

bool Station::Receive(bus::frame_t& frame, int timeout_ms) {
  const auto end = Clock::now() + std::chrono::milliseconds(timeout_ms);
  while (!stop_.Stopped()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    const int wait_ms = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, kReceiveWait_ms));
    const Result result = endpoint_->Receive(frame, wait_ms);
    if (result == Result::kOk) return true;
    if (result == Result::kDown && !Rejoin()) return false;
    if (result == Result::kTimeout && Clock::now() >= end) return false;
  }
  return false;
}

}  // namespace host
