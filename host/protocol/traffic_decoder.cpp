#include "host/protocol/traffic_decoder.h"

#include <algorithm>

#include "src/core/frame_layout.h"

namespace host {
namespace {

constexpr std::size_t MOST_WAITING = 32;
constexpr std::uint64_t PATIENCE_US = 1'000'000;

speaker_t SpeakerOf(const bus::frame_t& frame) {
  if (!frame.extended) return speaker_t::OTHER;
  if (frame.identifier == HOST_FRAME_ID) return speaker_t::HOST;
  return frame.identifier == DISPLAY_FRAME_ID ? speaker_t::DISPLAY : speaker_t::OTHER;
}

std::size_t FramesOf(const Message& message) {
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

void Conversation::HearHost(const Message& message, utterance_t& utterance) {
  utterance.decoded = DecodeCommand(message, units_);
  const command_t* command = FindCommand(message);
  if (command == nullptr) return;
  // A request of more than one frame gets no answer.
  if (command->reply.frames > 0 && FramesOf(message) == 1) replies_.Requested(*command, utterance.time_us);
  if (command->name == "units" && message.size() >= command->leastLength && message[2] <= 1)
    units_ = message[2];
}

void Conversation::HearDisplay(const Message& message, utterance_t& utterance) {
  utterance.answers = replies_.Answered(FramesOf(message), utterance.time_us);
  utterance.decoded = utterance.answers == nullptr ? DecodeUnknown(message, "nobody asked for this")
                                                   : DecodeReply(*utterance.answers, message);
}

std::optional<utterance_t> Conversation::Feed(const bus::frame_t& frame) {
  ++counters_.frames;
  utterance_t utterance{
      .time_us = frame.time_us, .speaker = SpeakerOf(frame), .frame = frame, .message = {}, .decoded = {}};
  if (utterance.speaker == speaker_t::OTHER) {
    ++counters_.others;
    utterance.decoded = DecodeUnknown(frame.Bytes(), "");
    return utterance;
  }
  Message message;
  const bool fromHost = utterance.speaker == speaker_t::HOST;
  if (fromHost && IsImmediateRequest(frame.Bytes())) {
    ++counters_.requests;
    message.assign(frame.Bytes().begin() + 2, frame.Bytes().end());
  } else if (!(fromHost ? host_ : display_).Feed(frame.Bytes(), message)) {
    return std::nullopt;
  }
  if (fromHost) {
    HearHost(message, utterance);
  } else {
    HearDisplay(message, utterance);
  }
  utterance.message = std::move(message);
  return utterance;
}

}  // namespace host
