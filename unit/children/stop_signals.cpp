#include "unit/children/stop_signals.h"

#include <csignal>
#include <ctime>

#include <unistd.h>

namespace unit {
namespace {

sigset_t StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&signals, signal);
  return signals;
}

}  // namespace

void BlockStopSignals() {
  const sigset_t signals = StopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(std::signal(signal, SIG_IGN));
}

bool StopRequested(std::chrono::milliseconds time) {
  const sigset_t signals = StopSignals();
  const std::timespec wait{.tv_sec = time.count() / 1000, .tv_nsec = time.count() % 1000 * 1'000'000};
  const int signal = sigtimedwait(&signals, nullptr, &wait);
  return signal > 0 && signal != SIGCHLD;
}

void RequestStop() {
  kill(getpid(), SIGTERM);
}

}  // namespace unit
