// The front keys of the display that runs here, pressed from a scenario.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace simulate {

// Presses front keys of the display that runs in this runtime directory, over its panel's HTTP. On a thread of
// its own: a panel that hangs must not hold the host up.
class FrontKeys {
 public:
  FrontKeys() = default;
  ~FrontKeys();
  FrontKeys(const FrontKeys&) = delete;
  FrontKeys& operator=(const FrontKeys&) = delete;
  // Returns at once. Where no panel runs, a line on standard error says so; beyond 16 that wait, presses are
  // dropped with another.
  void Press(int key);

 private:
  void Work(const std::stop_token& stop);

  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::deque<int> waiting_;  // guarded by mutex_
  std::jthread thread_;      // started by the first press
};

}  // namespace simulate
