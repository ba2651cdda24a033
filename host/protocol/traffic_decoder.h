// Both directions of the bus as one conversation: joins frames into messages and gives each reply the request
// that it belongs to.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "bus/can_frame.h"
#include "host/protocol/decode.h"
#include "host/protocol/reassembly.h"

namespace host {

// Replies carry no command number. The display answers in order, so each belongs to the oldest request of its
// number of frames that waits. Requests that wait longer than a second are taken for unanswered; at most 32
// wait.
class ReplyMatcher {
 public:
  void Requested(const command_t& request, std::uint64_t time_us);
  // Null when no request waits that has such a reply. Requests before the one found are given up.
  const command_t* Answered(std::size_t frames, std::uint64_t time_us);
  std::uint64_t Unanswered() const { return unanswered_; }

 private:
  struct waiting_t {
    const command_t* request;
    std::uint64_t time_us;
  };
  void GiveUp(std::uint64_t before_us);

  std::deque<waiting_t> waiting_;
  std::uint64_t unanswered_ = 0;
};

enum class speaker_t : std::uint8_t { HOST, DISPLAY, OTHER };

struct utterance_t {
  std::uint64_t time_us = 0;  // of its last frame
  speaker_t speaker = speaker_t::OTHER;
  bus::frame_t frame;                  // that last frame; all there is of another speaker
  Message message = {};                // with the padding of its last frame; empty of another speaker
  const command_t* answers = nullptr;  // of the display: the request
  decoded_t decoded;
};

class Conversation {
 public:
  struct counters_t {
    std::uint64_t frames = 0;
    std::uint64_t others = 0;    // frames of neither the host nor the display
    std::uint64_t requests = 0;  // messages that the display answers before it joins frames
  };

  // The next frame of the bus, in order of time. Something comes back when it completes a message.
  std::optional<utterance_t> Feed(const bus::frame_t& frame);
  const counters_t& Counters() const { return counters_; }
  const Reassembler::counters_t& Host() const { return host_.Counters(); }
  const Reassembler::counters_t& Display() const { return display_.Counters(); }
  std::uint64_t Unanswered() const { return replies_.Unanswered(); }

 private:
  void HearHost(const Message& message, utterance_t& utterance);
  void HearDisplay(const Message& message, utterance_t& utterance);

  Reassembler host_;
  Reassembler display_;
  ReplyMatcher replies_;
  units_t units_;
  counters_t counters_;
};

}  // namespace host
