#include "bus/echo_window.h"

namespace bus {
namespace {

constexpr std::size_t ECHO_EVERY = 128;
constexpr unsigned MOST_ECHOES = 4;
// Longer than the two seconds after which the unit's server drops a station that holds it up.
constexpr std::chrono::milliseconds PATIENCE{5000};

}  // namespace

bool EchoWindow::WaitForRoom(const Deadline& deadline) {
  if (!wanted_) return true;
  const int left_ms = deadline.Left_ms();
  const auto wait = left_ms < 0 ? PATIENCE : std::chrono::milliseconds(left_ms);
  std::unique_lock lock(mutex_);
  if (changed_.wait_for(lock, wait, [this] { return released_ || asked_ - answered_ < MOST_ECHOES; })) {
    waitingSince_.reset();
    return true;
  }
  const auto now = std::chrono::steady_clock::now();
  if (!waitingSince_) waitingSince_ = now - wait;
  wanted_ = now - *waitingSince_ < PATIENCE;
  return !wanted_;
}

bool EchoWindow::IsDue(std::size_t frames) {
  frames_ += frames;
  if (!wanted_ || frames_ < ECHO_EVERY) return false;
  frames_ = 0;
  ++asked_;
  return true;
}

void EchoWindow::Answered() {
  const std::lock_guard lock(mutex_);
  ++answered_;
  changed_.notify_one();
}

void EchoWindow::Release() {
  const std::lock_guard lock(mutex_);
  released_ = true;
  changed_.notify_one();
}

}  // namespace bus
