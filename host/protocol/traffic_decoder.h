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

enum class sender_t : std::uint8_t { HOST, DISPLAY, OTHER };

struct bus_message_t {
  std::uint64_t time_us = 0;  // of its last frame
  sender_t sender = sender_t::OTHER;
  bus::frame_t frame;                  // that last frame; all there is of another speaker
  MessageBytes bytes = {};             // with the padding of its last frame; empty of another speaker
  const command_t* request = nullptr;  // of the display: the request
  decoded_t decoded;
};

class TrafficDecoder {
 public:
  struct traffic_counts_t {
    std::uint64_t frames = 0;
    std::uint64_t others = 0;    // frames of neither the host nor the display
    std::uint64_t requests = 0;  // messages that the display answers before it joins frames
  };

  // The next frame of the bus, in order of time. Something comes back when it completes a message.
  std::optional<bus_message_t> Accept(const bus::frame_t& frame);
  const traffic_counts_t& Counts() const { return counts_; }
  const Reassembler::joining_counts_t& Host() const { return host_.Counts(); }
  const Reassembler::joining_counts_t& Display() const { return display_.Counts(); }
  std::uint64_t Unanswered() const { return replies_.Unanswered(); }

 private:
  void HearHost(const MessageBytes& message, bus_message_t& heard);
  void HearDisplay(const MessageBytes& message, bus_message_t& heard);

  Reassembler host_;
  Reassembler display_;
  ReplyMatcher replies_;
  known_units_t units_;
  traffic_counts_t counts_;
};

}  // namespace host
