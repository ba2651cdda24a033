// What both kinds of station are made of: a deadline, and a wait on a socket that another thread can end.
// Inside this folder only.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "base/descriptor.h"

namespace bus {

// A moment `timeout_ms` from now; negative: never.
class Deadline {
 public:
  explicit Deadline(int timeout_ms);
  int Left_ms() const;  // as poll takes it: never below 0, but -1 for "never"
 private:
  bool never_;
  std::chrono::steady_clock::time_point end_;
};

// Wakes a wait from any thread. A wake that meets no wait ends the next one.
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
// Until the socket can be read or has failed, the deadline, or the waker (which this clears).
wait_t WaitReadable(int fd, Waker& waker, const Deadline& deadline);
// Until the socket takes bytes or has failed, or the deadline; false at the deadline.
bool WaitWritable(int fd, const Deadline& deadline);

// The last trouble, set by one thread and read by another.
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
