// Joins the frames of one source address into messages, by the rules by which the display joins them, and
// counts what broke.
#pragma once

#include <cstdint>
#include <span>

#include "host/protocol/encode.h"

namespace host {

class Reassembler {
 public:
  struct joining_counts_t {
    std::uint64_t messages = 0;
    std::uint64_t broken = 0;   // messages given up because a frame was missing, repeated or out of order
    std::uint64_t strays = 0;   // frames that begin no message while none is being joined
    std::uint64_t tooLong = 0;  // messages of more frames than the display takes
  };

  // One frame's data. True when it completes a message, which is then in `message` with the padding of its last
  // frame. As in the display, the frame that breaks a sequence is not looked at again as a possible beginning.
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
