// The open event streams of the front panel. Each has a bounded queue, so that a slow reader does not delay the
// others.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace unit {

// The event that says what has changed on the screen.
constexpr const char* SCREEN_CHANGE = "change";

// The stream of one reader. The thread that serves the reader calls Wait; the hub adds events.
//
// The screen may change a hundred times a second, and a browser needs a layout and a painting for each time
// that something arrives. A change is sent at once; what comes within GROUP after it is sent together.
class EventStream {
 public:
  enum class next_t { EVENTS, BEAT, FULL, CLOSED };

  // Waits at most `beat` for events and appends them to `text`. BEAT: there were none. FULL: the reader needs
  // the full state, because it is new or its queue was full and has been emptied.
  next_t Wait(std::string& text, std::chrono::milliseconds beat);

 private:
  friend class StreamHub;
  static constexpr std::size_t MAX_BYTES = 2U << 20U;
  static constexpr std::chrono::milliseconds GROUP{33};

  void Push(const std::string& event, bool isChange);
  void Close();

  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  std::deque<std::string> events_;
  std::size_t bytes_ = 0;
  bool full_ = true;
  bool closed_ = false;
  bool hasChange_ = false;  // among the events
  bool isHolding_ = false;  // the reader's thread waits for heldUntil_, and not for an event
  std::chrono::steady_clock::time_point heldUntil_{};
};

// Any thread.
class StreamHub {
 public:
  static constexpr std::size_t MAX_STREAMS = 8;

  // Null when MAX_STREAMS are open.
  std::shared_ptr<EventStream> Open();
  void Release(const std::shared_ptr<EventStream>& stream);
  void Broadcast(const std::string& name, const std::string& data);
  // Ends all streams and refuses new ones.
  void CloseAll();
  std::size_t Count() const;

  // The text of an event in a stream (HTML Living Standard, server-sent events). `data` is one line.
  static std::string Format(const std::string& name, const std::string& data);

 private:
  mutable std::mutex mutex_;  // guards the two below
  std::vector<std::shared_ptr<EventStream>> streams_;
  bool closed_ = false;
};

}  // namespace unit
