#include "host/link/stop_signal.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "host/protocol/errors.h"

namespace host {
namespace {

// The signal handler sets the flag and makes the descriptor readable; it stays readable, so every wait ends.
std::atomic<int> stopEvent = -1;
std::atomic<bool> stopped = false;
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void NoteStop(int /*signal*/) {
  stopped = true;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(stopEvent, &one, sizeof one);
}

void SetHandlers(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

timespec ToTimespec(std::chrono::nanoseconds span) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(span);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((span - seconds).count())};
}

}  // namespace

StopSignal::StopSignal() {
  stopped = false;
  stopEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (stopEvent < 0) throw Failure("cannot create an event descriptor; too many open files?");
  SetHandlers(NoteStop);
}

StopSignal::~StopSignal() {
  SetHandlers(SIG_DFL);
  ::close(stopEvent.exchange(-1));
}

bool StopSignal::Stopped() const {
  return stopped;
}

bool StopSignal::WaitUntil(std::chrono::steady_clock::time_point when) const {
  for (;;) {
    const auto left = std::max(std::chrono::nanoseconds(0),
                               std::chrono::nanoseconds(when - std::chrono::steady_clock::now()));
    const timespec span = ToTimespec(left);
    pollfd wait{stopEvent, POLLIN, 0};
    const int ready = ::ppoll(&wait, 1, &span, nullptr);
    if (ready > 0) return false;
    if (ready == 0 && left.count() == 0) return true;
  }
}

}  // namespace host
