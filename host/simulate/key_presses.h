// The front keys of the display that runs here, pressed from a scenario.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "host/link/front_keys.h"

namespace simulate {

// On a thread of its own: a panel that hangs must not hold the host up.
class KeyPresses {
 public:
  KeyPresses() = default;
  ~KeyPresses();
  KeyPresses(const KeyPresses&) = delete;
  KeyPresses& operator=(const KeyPresses&) = delete;
  // Returns at once. Where no panel runs, a line on standard error says so; beyond 16 that wait, presses are
  // dropped with another.
  void Press(int key);

 private:
  void Work(const std::stop_token& stop);

  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::deque<int> waiting_;  // guarded by mutex_
  host::FrontKeys keys_;     // the thread's
  std::jthread thread_;      // started by the first press
};

}  // namespace simulate
