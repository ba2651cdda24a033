// Signs of life of the threads that do a service's work. A run that systemd has started feeds the watchdog only
// while none of them is late, so that a service that hangs is started again.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

namespace unit {

// One object for each thread, for as long as the thread works. The calls come from that thread.
class Liveness {
 public:
  using Clock = std::chrono::steady_clock;
  // A thread that gives no sign for so long hangs. It is longer than every wait with a limit in these threads.
  static constexpr std::chrono::seconds PATIENCE{5};

  // `thread` names the thread in messages, such as "screen pace". It must outlive the object.
  explicit Liveness(const char* thread);
  ~Liveness();
  Liveness(const Liveness&) = delete;
  Liveness& operator=(const Liveness&) = delete;

  // The thread works. Called at each turn of its loop, and after each wait without a limit.
  void Note() { last_ = Clock::now(); }
  // The thread waits without a limit; it is not late before its next Note.
  void Rest() { last_ = Clock::time_point::max(); }

  // The names of the threads of this process that are late at `now`. Any thread.
  static std::vector<std::string> LateThreads(Clock::time_point now);

 private:
  const char* const thread_;
  std::atomic<Clock::time_point> last_{Clock::now()};
};

}  // namespace unit
