// Joins the frames of one source address into messages, by the same rules as the display, and counts the
// messages that could not be joined.
#pragma once

#include <cstdint>
#include <span>

#include "host/protocol/encode.h"

namespace host {

class Reassembler {
 public:
  struct joining_counts_t {
    std::uint64_t messages = 0;
    std::uint64_t broken = 0;   // messages lost because a frame was missing, repeated or out of order
    std::uint64_t strays = 0;   // frames between messages that begin none
    std::uint64_t tooLong = 0;  // messages of more frames than the display accepts
  };

  // Takes the data of one frame. Returns true when the frame completes a message, which is then in `message`
  // with the padding of its last frame. A frame that breaks a sequence is dropped even if it could begin a
  // message: the display drops it too, and hx7 must show what the display understood.
  bool Accept(std::span<const std::uint8_t> data, MessageBytes& message);
  const joining_counts_t& Counts() const { return counts_; }

 private:
  bool Begin(std::span<const std::uint8_t> data, MessageBytes& message);
  bool Deliver(MessageBytes& message);

  MessageBytes message_;
  unsigned expected_ = 0;  // frames of the message
  unsigned received_ = 0;  // 0: waiting for a first frame
  joining_counts_t counts_;
};

}  // namespace host
