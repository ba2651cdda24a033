// Ctrl-C and SIGTERM end a running command at once and in order.
#pragma once

#include <chrono>

namespace host {

// While one exists, SIGINT and SIGTERM are noted instead of ending the process. One at a time.
class StopSignal {
 public:
  StopSignal();  // throws failure
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;
  bool Stopped() const;
  // False when the stop came first.
  bool WaitUntil(std::chrono::steady_clock::time_point when) const;
};

}  // namespace host
