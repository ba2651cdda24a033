// Presses the front keys of the display on this machine, for the scenario action `press`.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "host/link/front_keys.h"

namespace simulate {

// Works on a thread of its own, because a panel that hangs must not delay the host.
class KeyPresses {
 public:
  KeyPresses() = default;
  ~KeyPresses();
  KeyPresses(const KeyPresses&) = delete;
  KeyPresses& operator=(const KeyPresses&) = delete;
  // Returns at once. Prints a line on standard error if no panel answers, and one for each press that is
  // dropped because 16 wait already.
  void Press(int key);

 private:
  void Work(const std::stop_token& stop);

  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::deque<int> waiting_;  // guarded by mutex_
  host::FrontKeys keys_;     // used by the thread only
  std::jthread thread_;      // started by the first press
};

}  // namespace simulate
