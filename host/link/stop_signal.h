// Lets Ctrl-C and SIGTERM end a running command at once and in order.
#pragma once

#include <chrono>

namespace host {

// While it exists, SIGINT and SIGTERM set it instead of ending the process. Only one may exist at a time.
class StopSignal {
 public:
  StopSignal();  // throws Failure
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;
  bool Stopped() const;
  // Returns false if the stop came first.
  bool WaitUntil(std::chrono::steady_clock::time_point when) const;
};

}  // namespace host
