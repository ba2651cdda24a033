#include "host/simulate/key_presses.h"

#include <iostream>

namespace simulate {
namespace {

constexpr std::size_t MOST_PRESSES = 16;

}  // namespace

KeyPresses::~KeyPresses() {
  thread_.request_stop();
  wake_.notify_all();
}

void KeyPresses::Press(int key) {
  const std::scoped_lock lock(mutex_);
  if (waiting_.size() >= MOST_PRESSES) {
    std::cerr << "hx7: the press of front key " << key
              << " is dropped: 16 presses wait, and the panel does not answer\n";
    return;
  }
  waiting_.push_back(key);
  if (!thread_.joinable()) thread_ = std::jthread([this](const std::stop_token& stop) { Work(stop); });
  wake_.notify_all();
}

void KeyPresses::Work(const std::stop_token& stop) {
  for (;;) {
    std::unique_lock lock(mutex_);
    if (!wake_.wait(lock, stop, [this] { return !waiting_.empty(); })) return;
    const int key = waiting_.front();
    waiting_.pop_front();
    lock.unlock();
    keys_.Press(key);
  }
}

}  // namespace simulate
