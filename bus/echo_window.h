// Keeps a sender from running ahead of its socketcand server. Inside this folder only.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>

#include "bus/wait.h"

namespace bus {

// A connection's buffers hold seconds of traffic: a sender that is stopped would go on for so long, and one
// that leaves would not know whether the last was taken. So the server is asked for an echo every 128 frames,
// and what comes behind four of them waits. Where no echo comes for five seconds (a server that knows none, or
// an owner that never receives), it does without from then on.
class EchoWindow {
 public:
  // Sending thread. True where the next frames may go; false at the deadline.
  bool WaitForRoom(const Deadline& deadline);
  // Sending thread, before so many frames: true where an echo is to be asked for behind them.
  bool IsDue(std::size_t frames);
  // Sending thread: the last request was not sent after all.
  void TakeBack() { --asked_; }
  // Receiving thread: an echo came.
  void Answered();
  // Any thread: the connection is gone, and nothing is worth a wait any more.
  void Release();

 private:
  bool wanted_ = true;      // sending thread
  std::size_t frames_ = 0;  // sending thread: behind the last request
  unsigned asked_ = 0;      // sending thread
  std::optional<std::chrono::steady_clock::time_point> waitingSince_;  // sending thread
  std::mutex mutex_;
  std::condition_variable changed_;
  unsigned answered_ = 0;  // guarded by mutex_
  bool released_ = false;  // guarded by mutex_
};

}  // namespace bus
