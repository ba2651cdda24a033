// The messages of the load computer's present step, in order, until the simulation puts them on the bus.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "host/protocol/encode.h"

namespace simulate {

// The frames of one message; they are sent together and in order.
using message_frames_t = std::vector<bus::frame_t>;

class Outbox {
 public:
  void Send(const host::MessageBytes& message) { messages_.push_back(host::CutIntoFrames(message)); }
  void Send(std::string_view command, double value) { Send(host::MakeMessage(command, value)); }
  void Request(std::string_view command) { Send(host::MakeMessage(command)); }
  void Send(message_frames_t frames) { messages_.push_back(std::move(frames)); }
  std::vector<message_frames_t> Drain() { return std::exchange(messages_, {}); }
  void Clear() { messages_.clear(); }

 private:
  std::vector<message_frames_t> messages_;
};

}  // namespace simulate
