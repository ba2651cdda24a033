// Keeps a sender from running far ahead of its socketcand server. For this folder only.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>

#include "bus/wait.h"

namespace bus {

// The buffers of a connection hold seconds of traffic: after a stop, frames would go on for that long, and at
// its end a sender could not know whether the server took the last of them. The sender therefore requests an
// echo after every 128 frames and waits while four echoes are outstanding. When no echo comes for five seconds,
// because the server knows no echo or the endpoint's owner does not receive, the window stays open for the rest
// of the connection.
class EchoWindow {
 public:
  // Sending thread. Waits until the next frames may be sent; false at the deadline.
  bool WaitForRoom(const Deadline& deadline);
  // Sending thread, before it sends `frames` frames: true when it must request an echo after them.
  bool IsDue(std::size_t frames);
  // Sending thread: the last request could not be sent.
  void TakeBack() { --asked_; }
  // Receiving thread: an echo has arrived.
  void Answered();
  // Any thread: the connection is lost; nothing waits any more.
  void Release();

 private:
  bool wanted_ = true;                                                 // sending thread
  std::size_t frames_ = 0;                                             // sending thread: since the last request
  unsigned asked_ = 0;                                                 // sending thread
  std::optional<std::chrono::steady_clock::time_point> waitingSince_;  // sending thread
  std::mutex mutex_;
  std::condition_variable changed_;
  unsigned answered_ = 0;  // guarded by mutex_
  bool released_ = false;  // guarded by mutex_
};

}  // namespace bus
