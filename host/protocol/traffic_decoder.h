// Decodes both directions of the bus: joins frames into messages and matches each reply to its request.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "bus/can_frame.h"
#include "host/protocol/decode.h"
#include "host/protocol/reassembly.h"

namespace host {

// Replies carry no command number, but the display answers in order. So a reply belongs to the oldest waiting
// request whose reply has the same number of frames. A request counts as unanswered after one second, or when
// more than 32 wait.
class ReplyMatcher {
 public:
  void AddRequest(const command_t& request, std::uint64_t time_us);
  // Finds the request of a reply with so many frames and counts the requests before it as unanswered. Null if
  // no such request waits.
  const command_t* MatchReply(std::size_t frames, std::uint64_t time_us);
  std::uint64_t Unanswered() const { return unanswered_; }

 private:
  struct waiting_request_t {
    const command_t* request;
    std::uint64_t time_us;
  };
  void DropOld(std::uint64_t before_us);

  std::deque<waiting_request_t> waiting_;
  std::uint64_t unanswered_ = 0;
};

enum class sender_t : std::uint8_t { HOST, DISPLAY, OTHER };
// By the frame's identifier.
sender_t SenderOf(const bus::frame_t& frame);

// A whole message of the host or the display, or one frame of another station.
struct bus_message_t {
  std::uint64_t time_us = 0;  // of the last frame
  sender_t sender = sender_t::OTHER;
  bus::frame_t frame;                  // the last frame
  MessageBytes bytes = {};             // with the padding of the last frame; empty for another station
  const command_t* request = nullptr;  // for a reply of the display: the request that it answers
  decoded_t decoded;
};

class TrafficDecoder {
 public:
  struct traffic_counts_t {
    std::uint64_t frames = 0;
    std::uint64_t others = 0;    // frames of neither the host nor the display
    std::uint64_t requests = 0;  // requests in a single frame, which the display answers before it joins frames
  };

  // Takes the next frame of the bus, in the order of time, and returns the message that it completes, if any.
  std::optional<bus_message_t> Accept(const bus::frame_t& frame);
  const traffic_counts_t& Counts() const { return counts_; }
  const Reassembler::joining_counts_t& Host() const { return host_.Counts(); }
  const Reassembler::joining_counts_t& Display() const { return display_.Counts(); }
  std::uint64_t Unanswered() const { return replies_.Unanswered(); }

 private:
  std::optional<MessageBytes> Join(const bus::frame_t& frame, sender_t sender);
  void ReadHost(bus_message_t& message);
  void ReadDisplay(bus_message_t& message);

  Reassembler host_;
  Reassembler display_;
  ReplyMatcher replies_;
  known_units_t units_;
  traffic_counts_t counts_;
};

}  // namespace host
