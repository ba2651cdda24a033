#include "host/protocol/traffic_decoder.h"

#include <algorithm>

#include "src/core/frame_layout.h"

namespace host {
namespace {

constexpr std::size_t MOST_WAITING = 32;
constexpr std::uint64_t PATIENCE_US = 1'000'000;

sender_t SenderOf(const bus::frame_t& frame) {
  if (!frame.extended) return sender_t::OTHER;
  if (frame.identifier == HOST_FRAME_ID) return sender_t::HOST;
  return frame.identifier == DISPLAY_FRAME_ID ? sender_t::DISPLAY : sender_t::OTHER;
}

std::size_t CountFrames(const MessageBytes& message) {
  std::size_t frames = 1;
  while (MessageRoom(frames) < message.size()) ++frames;
  return frames;
}

// The display answers these as they come, before frames are joined; so they may stand between the frames of a
// message.
bool IsImmediateRequest(std::span<const std::uint8_t> data) {
  if (data.size() < 3 || data[0] != 0 || data[1] != 1) return false;
  const command_t* command = FindCommand(data.subspan(2));
  return command != nullptr && command->reply.frames > 0;
}

}  // namespace

void ReplyMatcher::GiveUp(std::uint64_t before_us) {
  while (!waiting_.empty() && (waiting_.front().time_us < before_us || waiting_.size() > MOST_WAITING)) {
    waiting_.pop_front();
    ++unanswered_;
  }
}

void ReplyMatcher::Requested(const command_t& request, std::uint64_t time_us) {
  waiting_.push_back({&request, time_us});
  GiveUp(time_us - std::min(time_us, PATIENCE_US));
}

const command_t* ReplyMatcher::Answered(std::size_t frames, std::uint64_t time_us) {
  GiveUp(time_us - std::min(time_us, PATIENCE_US));
  const auto found = std::ranges::find_if(
      waiting_, [&](const waiting_t& waiting) { return waiting.request->reply.frames == frames; });
  if (found == waiting_.end()) return nullptr;
  const command_t* request = found->request;
  unanswered_ += static_cast<std::uint64_t>(found - waiting_.begin());
  waiting_.erase(waiting_.begin(), found + 1);
  return request;
}

void TrafficDecoder::HearHost(const MessageBytes& message, bus_message_t& heard) {
  heard.decoded = ReadCommand(message, units_);
  const command_t* command = FindCommand(message);
  if (command == nullptr) return;
  // A request of more than one frame gets no answer.
  if (command->reply.frames > 0 && CountFrames(message) == 1) replies_.Requested(*command, heard.time_us);
  if (command->name == "units" && message.size() >= command->leastLength && message[2] <= 1)
    units_ = message[2];
}

void TrafficDecoder::HearDisplay(const MessageBytes& message, bus_message_t& heard) {
  heard.request = replies_.Answered(CountFrames(message), heard.time_us);
  heard.decoded = heard.request == nullptr ? ShowBytes(message, "nobody asked for this")
                                           : ReadReply(*heard.request, message);
}

std::optional<bus_message_t> TrafficDecoder::Accept(const bus::frame_t& frame) {
  ++counts_.frames;
  bus_message_t heard{
      .time_us = frame.time_us, .sender = SenderOf(frame), .frame = frame, .bytes = {}, .decoded = {}};
  if (heard.sender == sender_t::OTHER) {
    ++counts_.others;
    heard.decoded = ShowBytes(frame.Bytes(), "");
    return heard;
  }
  MessageBytes message;
  const bool fromHost = heard.sender == sender_t::HOST;
  if (fromHost && IsImmediateRequest(frame.Bytes())) {
    ++counts_.requests;
    message.assign(frame.Bytes().begin() + 2, frame.Bytes().end());
  } else if (!(fromHost ? host_ : display_).Accept(frame.Bytes(), message)) {
    return std::nullopt;
  }
  if (fromHost) {
    HearHost(message, heard);
  } else {
    HearDisplay(message, heard);
  }
  heard.bytes = std::move(message);
  return heard;
}

}  // namespace host
