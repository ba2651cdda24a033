#include "bus/wait.h"

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>

namespace bus {

Deadline::Deadline(int timeout_ms)
    : never_(timeout_ms < 0),
      end_(std::chrono::steady_clock::now() + std::chrono::milliseconds(never_ ? 0 : timeout_ms)) {}

int Deadline::Left_ms() const {
  if (never_) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

Waker::Waker() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (event_.Get() < 0) throw std::runtime_error("no event descriptor: " + ErrorText(errno));
}

void Waker::Wake() {
  const std::uint64_t one = 1;
  // The write fails only when the counter is full; the waker is set then already.
  [[maybe_unused]] const auto written = ::write(event_.Get(), &one, sizeof one);
}

void Waker::Clear() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = ::read(event_.Get(), &count, sizeof count);
}

wait_t WaitReadable(int fd, Waker& waker, const Deadline& deadline) {
  for (;;) {
    std::array<pollfd, 2> waits{{{fd, POLLIN, 0}, {waker.Get(), POLLIN, 0}}};
    const int left_ms = deadline.Left_ms();
    const int ready = ::poll(waits.data(), waits.size(), left_ms);
    if (ready > 0 && waits[1].revents != 0) {
      waker.Clear();
      return wait_t::WOKEN;
    }
    if (ready > 0) return wait_t::READY;
    if (ready == 0 && left_ms >= 0 && deadline.Left_ms() == 0) return wait_t::TIMEOUT;
  }
}

bool WaitWritable(int fd, const Deadline& deadline) {
  for (;;) {
    pollfd wait{fd, POLLOUT, 0};
    const int left_ms = deadline.Left_ms();
    if (::poll(&wait, 1, left_ms) > 0) return true;
    if (left_ms == 0 || deadline.Left_ms() == 0) return false;
  }
}

void ProblemText::Set(std::string text) {
  const std::scoped_lock lock(mutex_);
  if (text_.empty()) text_ = std::move(text);
}

std::string ProblemText::Get() const {
  const std::scoped_lock lock(mutex_);
  return text_;
}

bool ProblemText::Any() const {
  const std::scoped_lock lock(mutex_);
  return !text_.empty();
}

std::string ErrorText(int error) {
  return std::generic_category().message(error);
}

}  // namespace bus
