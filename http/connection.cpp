#include "http/connection.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace http {
namespace {

using std::chrono::steady_clock;

bool WaitForSocket(int descriptor, short events, deadline_t deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
    pollfd entry{descriptor, events, 0};
    const int ready = ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

}  // namespace

void WaitingConnections::CloseOldest() {
  const std::lock_guard lock(mutex_);
  ++owed_;
  EndFirst();
}

void WaitingConnections::ForgetOwed() {
  const std::lock_guard lock(mutex_);
  owed_ = 0;
}

// The mutex is held.
void WaitingConnections::EndFirst() {
  if (owed_ == 0 || waiting_.empty()) return;
  --owed_;
  ::shutdown(waiting_.begin()->second, SHUT_RD);
  waiting_.erase(waiting_.begin());
}

void WaitingConnections::CloseAll() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  for (const auto& [deadline, descriptor] : waiting_) ::shutdown(descriptor, SHUT_RD);
}

bool WaitingConnections::Enter(const waiting_t& waiting) {
  const std::lock_guard lock(mutex_);
  if (!closed_) waiting_.insert(waiting);
  EndFirst();
  return !closed_;
}

void WaitingConnections::Leave(const waiting_t& waiting) {
  const std::lock_guard lock(mutex_);
  waiting_.erase(waiting);
}

Connection::Connection(int descriptor, WaitingConnections& waiting)
    : descriptor_(descriptor), deadline_(steady_clock::now() + READ_LIMIT), waiting_(waiting) {}

Connection::~Connection() {
  ::shutdown(descriptor_, SHUT_RDWR);
  ::close(descriptor_);
}

bool Connection::is_readable() const {
  return begin_ < end_ || WaitForSocket(descriptor_, POLLIN, deadline_);
}

bool Connection::is_writable() const {
  if (!WaitForSocket(descriptor_, POLLOUT, steady_clock::now() + WRITE_LIMIT)) return false;
  char next = 0;
  return ::recv(descriptor_, &next, 1, MSG_PEEK | MSG_DONTWAIT) != 0;
}

ssize_t Connection::read(char* data, std::size_t size) {
  if (begin_ == end_ && !Fill()) return -1;
  const std::size_t count = std::min(size, end_ - begin_);
  std::copy_n(buffer_.data() + begin_, count, data);
  begin_ += count;
  return static_cast<ssize_t>(count);
}

ssize_t Connection::Receive() {
  return ::recv(descriptor_, buffer_.data(), buffer_.size(), MSG_DONTWAIT);
}

// A request that is there already never stands among the waiting connections.
bool Connection::Fill() {
  ssize_t count = steady_clock::now() < deadline_ ? Receive() : 0;
  const WaitingConnections::waiting_t waiting{deadline_, descriptor_};
  if (count < 0) {
    if (!waiting_.Enter(waiting)) return false;
    const bool ready = WaitForSocket(descriptor_, POLLIN, deadline_);
    waiting_.Leave(waiting);
    count = ready ? Receive() : 0;
  }
  begin_ = 0;
  end_ = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  return end_ > 0;
}

ssize_t Connection::write(const char* data, std::size_t size) {
  const auto deadline = steady_clock::now() + WRITE_LIMIT;
  for (std::size_t written = 0; written < size;) {
    if (!WaitForSocket(descriptor_, POLLOUT, deadline)) return -1;
    const ssize_t count = ::send(descriptor_, data + written, size - written, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) written += static_cast<std::size_t>(count);
    if (count < 0 && errno != EAGAIN && errno != EINTR) return -1;
    if (steady_clock::now() >= deadline && written < size) return -1;
  }
  return static_cast<ssize_t>(size);
}

// Nobody asks: the server is for the loopback only.
void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = -1;
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
  ip.clear();
  port = -1;
}

}  // namespace http
