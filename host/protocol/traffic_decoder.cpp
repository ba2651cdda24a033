#include "host/protocol/traffic_decoder.h"

#include <algorithm>

#include "src/core/frame_layout.h"

namespace host {
namespace {

constexpr std::size_t MOST_WAITING = 32;
constexpr std::uint64_t PATIENCE_US = 1'000'000;

// The display answers these requests when their frame arrives, before it joins frames. So such a frame may come
// between the frames of another message and does not break it.
bool IsImmediateRequest(std::span<const std::uint8_t> data) {
  if (data.size() < FRAME_SIZE || data[0] != 0 || data[1] != 1) return false;
  const command_t* command = FindCommand(data.subspan(2));
  return command != nullptr && command->reply.frames > 0;
}

}  // namespace

sender_t SenderOf(const bus::frame_t& frame) {
  if (!frame.extended) return sender_t::OTHER;
  if (frame.identifier == HOST_FRAME_ID) return sender_t::HOST;
  return frame.identifier == DISPLAY_FRAME_ID ? sender_t::DISPLAY : sender_t::OTHER;
}

void ReplyMatcher::DropOld(std::uint64_t before_us) {
  while (!waiting_.empty() && (waiting_.front().time_us < before_us || waiting_.size() > MOST_WAITING)) {
    waiting_.pop_front();
    ++unanswered_;
  }
}

void ReplyMatcher::AddRequest(const command_t& request, std::uint64_t time_us) {
  waiting_.push_back({&request, time_us});
  DropOld(time_us - std::min(time_us, PATIENCE_US));
}

const command_t* ReplyMatcher::MatchReply(std::size_t frames, std::uint64_t time_us) {
  DropOld(time_us - std::min(time_us, PATIENCE_US));
  const auto found = std::ranges::find_if(
      waiting_, [&](const waiting_request_t& waiting) { return waiting.request->reply.frames == frames; });
  if (found == waiting_.end()) return nullptr;
  const command_t* request = found->request;
  unanswered_ += static_cast<std::uint64_t>(found - waiting_.begin());
  waiting_.erase(waiting_.begin(), found + 1);
  return request;
}

void TrafficDecoder::ReadHost(bus_message_t& message) {
  message.decoded = ReadCommand(message.bytes, units_);
  const command_t* command = FindCommand(message.bytes);
  if (command == nullptr) return;
  // The display does not answer a request of more than one frame.
  if (command->reply.frames > 0 && CountFrames(message.bytes.size()) == 1) {
    replies_.AddRequest(*command, message.time_us);
  }
  const bool setsUnits = command->name == "units" && message.bytes.size() >= command->leastLength;
  if (setsUnits && message.bytes[2] <= 1) units_ = message.bytes[2];
}

void TrafficDecoder::ReadDisplay(bus_message_t& message) {
  message.request = replies_.MatchReply(CountFrames(message.bytes.size()), message.time_us);
  message.decoded = message.request == nullptr ? ShowBytes(message.bytes, "no request waits for this reply")
                                               : ReadReply(*message.request, message.bytes);
}

std::optional<MessageBytes> TrafficDecoder::Join(const bus::frame_t& frame, sender_t sender) {
  const auto data = frame.Bytes();
  if (sender == sender_t::HOST && IsImmediateRequest(data)) {
    ++counts_.requests;
    return MessageBytes(data.begin() + 2, data.end());
  }
  MessageBytes bytes;
  Reassembler& reassembler = sender == sender_t::HOST ? host_ : display_;
  return reassembler.Accept(data, bytes) ? std::optional(std::move(bytes)) : std::nullopt;
}

std::optional<bus_message_t> TrafficDecoder::Accept(const bus::frame_t& frame) {
  ++counts_.frames;
  bus_message_t message{.time_us = frame.time_us, .sender = SenderOf(frame), .frame = frame, .decoded = {}};
  if (message.sender == sender_t::OTHER) {
    ++counts_.others;
    message.decoded = ShowBytes(frame.Bytes(), "");
    return message;
  }
  auto bytes = Join(frame, message.sender);
  if (!bytes) return std::nullopt;
  message.bytes = std::move(*bytes);
  message.sender == sender_t::HOST ? ReadHost(message) : ReadDisplay(message);
  return message;
}

}  // namespace host
