// What the load computer has to say, message by message, until somebody puts it on the bus.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "host/protocol/encode.h"

namespace simulate {

// The frames of one message. They go out together and in order.
using message_frames_t = std::vector<bus::frame_t>;

class Outbox {
 public:
  void Send(const host::MessageBytes& message) { transmissions_.push_back(host::CutIntoFrames(message)); }
  void Send(std::string_view command, double value) { Send(host::MakeMessage(command, value)); }
  void Request(std::string_view command) { Send(host::MakeMessage(command)); }
  void Send(message_frames_t transmission) { transmissions_.push_back(std::move(transmission)); }
  std::vector<message_frames_t> Drain() { return std::exchange(transmissions_, {}); }
  void Clear() { transmissions_.clear(); }

 private:
  std::vector<message_frames_t> transmissions_;
};

}  // namespace simulate
