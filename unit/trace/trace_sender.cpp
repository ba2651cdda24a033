#include "unit/trace/trace_sender.h"

#include <algorithm>
#include <utility>

namespace unit {

void TraceSender::Note(const bus::frame_t& frame, bool sent) {
  const std::lock_guard lock(mutex_);
  waiting_.push_back({frame, sent});
  if (waiting_.size() > MOST_WAITING) waiting_.pop_front();
  ++noted_;
}

std::vector<std::vector<std::uint8_t>> TraceSender::Drain() {
  std::unique_lock lock(mutex_);
  const std::deque<traced_frame_t> frames = std::exchange(waiting_, {});
  const std::uint64_t first = noted_ - frames.size();
  lock.unlock();
  std::vector<std::vector<std::uint8_t>> messages;
  for (std::size_t at = 0; at < frames.size(); at += trace_report_t::MOST_FRAMES) {
    const auto begin = frames.begin() + static_cast<std::ptrdiff_t>(at);
    const std::size_t count = std::min(frames.size() - at, trace_report_t::MOST_FRAMES);
    messages.push_back(
        WriteTraceReport({.first = first + at, .frames = {begin, begin + static_cast<std::ptrdiff_t>(count)}}));
  }
  return messages;
}

}  // namespace unit
