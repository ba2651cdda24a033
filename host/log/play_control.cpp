#include "host/log/play_control.h"

#include <array>
#include <atomic>
#include <csignal>

#include <poll.h>
#include <unistd.h>

#include "host/log/player.h"

namespace host {
namespace {

constexpr std::chrono::milliseconds SLICE{50};  // between two checks of the keys and the signal

std::atomic<bool> continued = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void NoteContinue(int /*signal*/) {
  continued = true;
}

void HandleContinue(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(SIGCONT, &action, nullptr);
}

// In the background the terminal belongs to another process group: reading or setting it would stop this
// process.
bool InForeground() {
  return ::isatty(STDIN_FILENO) != 0 && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

}  // namespace

TerminalKeys::TerminalKeys(bool wanted) {
  listening_ = wanted && InForeground() && ::tcgetattr(STDIN_FILENO, &before_) == 0;
  Resume();
}

TerminalKeys::~TerminalKeys() {
  if (listening_ && InForeground()) ::tcsetattr(STDIN_FILENO, TCSADRAIN, &before_);
}

void TerminalKeys::Resume() {
  if (!listening_ || !InForeground()) return;
  termios single = before_;
  single.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  single.c_cc[VMIN] = 0;  // a read returns at once with the keys that are there
  single.c_cc[VTIME] = 0;
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &single);
}

bool TerminalKeys::DrainKeys() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  if (!listening_ || ::poll(&input, 1, 0) <= 0 || !InForeground()) return false;
  std::array<char, 64> keys{};
  const ssize_t count = ::read(STDIN_FILENO, keys.data(), keys.size());
  if (count <= 0) listening_ = false;  // the terminal was closed
  bool hit = false;
  for (ssize_t i = 0; i < count; ++i) hit ^= keys[static_cast<std::size_t>(i)] == ' ';
  return hit;
}

PlayControl::PlayControl(const StopSignal& stop, bool keys, std::function<void(bool)> showPaused)
    : stop_(stop), keys_(keys), showPaused_(std::move(showPaused)) {
  continued = false;
  HandleContinue(NoteContinue);
}

PlayControl::~PlayControl() {
  HandleContinue(SIG_DFL);
}

// How long the process was stopped (SIGSTOP, Ctrl-Z) since the last call; 0 if it was not.
PlayControl::Clock::duration PlayControl::DrainStoppedTime() {
  const auto now = Clock::now();
  const auto since = now - lastAlive_;
  lastAlive_ = now;
  if (!continued.exchange(false)) return {};
  keys_.Resume();
  return since;
}

std::optional<PlayControl::Clock::duration> PlayControl::WaitWhilePaused() {
  const auto begin = Clock::now();
  showPaused_(true);
  bool stopped = false;
  do {
    stopped = !stop_.WaitUntil(Clock::now() + SLICE);
    DrainStoppedTime();  // time stopped during a pause is part of the pause
  } while (!stopped && !keys_.DrainKeys());
  showPaused_(false);
  if (stopped) return std::nullopt;
  return Clock::now() - begin;
}

std::optional<PlayControl::Clock::duration> PlayControl::WaitUntil(Clock::time_point when) {
  Clock::duration held{};
  for (;;) {
    held += DrainStoppedTime();
    if (keys_.DrainKeys()) {
      const auto paused = WaitWhilePaused();
      if (!paused) return std::nullopt;
      held += *paused;
    }
    const auto now = Clock::now();
    const bool due = now >= when + held;
    if (!stop_.WaitUntil(due ? now : std::min(when + held, now + SLICE))) return std::nullopt;
    if (due) return held;
  }
}

void PlayControl::NoteSent() {
  const auto now = Clock::now();
  if (now - lastAlive_ > BUS_AWAY) continued = false;
  lastAlive_ = now;
}

}  // namespace host
