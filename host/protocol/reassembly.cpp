#include "host/protocol/reassembly.h"

#include <utility>

#include "src/core/frame_layout.h"

namespace host {

bool Reassembler::Deliver(MessageBytes& message) {
  received_ = 0;
  if (expected_ > MAX_MESSAGE_FRAMES) {
    ++counts_.tooLong;
    return false;
  }
  ++counts_.messages;
  message = std::move(message_);
  message_.clear();
  return true;
}

bool Reassembler::Begin(std::span<const std::uint8_t> data, MessageBytes& message) {
  if (data[0] != 0 || data[1] == 0) {
    ++counts_.strays;
    return false;
  }
  expected_ = data[1];
  received_ = 1;
  message_.assign(data.begin() + 2, data.end());
  return expected_ < 2 && Deliver(message);
}

bool Reassembler::Accept(std::span<const std::uint8_t> frame, MessageBytes& message) {
  if (frame.size() < FRAME_SIZE) {  // the display never gets it
    ++counts_.strays;
    return false;
  }
  const auto data = frame.first<FRAME_SIZE>();
  if (received_ == 0) return Begin(data, message);
  if (data[0] != received_) {
    received_ = 0;
    ++counts_.broken;
    return false;
  }
  message_.insert(message_.end(), data.begin() + 1, data.end());
  ++received_;
  return received_ >= expected_ && Deliver(message);
}

}  // namespace host
