// What both kinds of station use: a deadline, and a wait for a socket that another thread can end. For this
// folder only.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "base/descriptor.h"

namespace bus {

// The time `timeout_ms` from now; a negative timeout means never.
class Deadline {
 public:
  explicit Deadline(int timeout_ms);
  int Left_ms() const;  // in the form of poll: 0 or more, -1 for never
 private:
  bool never_;
  std::chrono::steady_clock::time_point end_;
};

// Ends a wait from any thread. Without a wait at that moment, the next wait ends.
class Waker {
 public:
  Waker();  // throws std::runtime_error
  void Wake();
  int Get() const { return event_.Get(); }
  void Clear();

 private:
  base::Descriptor event_;
};

enum class wait_t { READY, TIMEOUT, WOKEN };
// Waits until the socket is readable or has failed, until the deadline, or for the waker, which it then clears.
wait_t WaitReadable(int fd, Waker& waker, const Deadline& deadline);
// Waits until the socket is writable or has failed; false at the deadline.
bool WaitWritable(int fd, const Deadline& deadline);

// The problem of a station. Set keeps the first text: later problems follow from the first. Any thread.
class ProblemText {
 public:
  void Set(std::string text);
  std::string Get() const;
  bool Any() const;

 private:
  mutable std::mutex mutex_;
  std::string text_;  // guarded by mutex_
};

std::string ErrorText(int error);

}  // namespace bus
