#include "unit/panel/stream_hub.h"

#include <algorithm>
#include <utility>

namespace unit {

EventStream::next_t EventStream::Wait(std::string& text, std::chrono::milliseconds beat) {
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, beat, [this] { return closed_ || full_ || !events_.empty(); });
  if (!events_.empty()) {
    isHolding_ = true;
    changed_.wait_until(lock, heldUntil_, [this] { return closed_ || full_; });
    isHolding_ = false;
  }
  if (closed_) return next_t::CLOSED;
  if (std::exchange(full_, false)) return next_t::FULL;
  if (events_.empty()) return next_t::BEAT;
  for (const std::string& event : std::exchange(events_, {})) text += event;
  bytes_ = 0;
  if (std::exchange(hasChange_, false)) heldUntil_ = std::chrono::steady_clock::now() + GROUP;
  return next_t::EVENTS;
}

void EventStream::Push(const std::string& event, bool isChange) {
  {
    const std::lock_guard lock(mutex_);
    if (bytes_ + event.size() > MAX_BYTES) {
      events_.clear();
      bytes_ = 0;
      full_ = true;
    } else {
      events_.push_back(event);
      bytes_ += event.size();
      hasChange_ = hasChange_ || isChange;
      if (isHolding_) return;
    }
  }
  changed_.notify_one();
}

void EventStream::Close() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }
  changed_.notify_one();
}

std::shared_ptr<EventStream> StreamHub::Open() {
  const std::lock_guard lock(mutex_);
  if (closed_ || streams_.size() >= MAX_STREAMS) return nullptr;
  return streams_.emplace_back(std::make_shared<EventStream>());
}

void StreamHub::Release(const std::shared_ptr<EventStream>& stream) {
  const std::lock_guard lock(mutex_);
  std::erase(streams_, stream);
}

void StreamHub::Broadcast(const std::string& name, const std::string& data) {
  const std::string event = Format(name, data);
  const std::lock_guard lock(mutex_);
  for (const auto& stream : streams_) stream->Push(event, name == SCREEN_CHANGE);
}

void StreamHub::CloseAll() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  for (const auto& stream : streams_) stream->Close();
}

std::size_t StreamHub::Count() const {
  const std::lock_guard lock(mutex_);
  return streams_.size();
}

std::string StreamHub::Format(const std::string& name, const std::string& data) {
  return "event: " + name + "\ndata: " + data + "\n\n";
}

}  // namespace unit
