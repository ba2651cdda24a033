#include "http/request_threads.h"

#include <utility>

#include "platform/threads.h"

namespace http {

void RequestThreads::enqueue(std::function<void()> serve) {
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return connections_.size() < MOST_QUEUED; });
    connections_.push_back(std::move(serve));
    if (idle_ >= connections_.size()) {
      // A waiting thread takes it.
    } else if (threads_.size() < most_) {
      std::thread thread([this] { Run(); });
      const std::thread::id id = thread.get_id();
      threads_.emplace(id, std::move(thread));
    } else {
      waiting_.CloseOldest();
    }
  }
  changed_.notify_one();
}

void RequestThreads::shutdown() {
  waiting_.CloseAll();
  std::unique_lock lock(mutex_);
  stopping_ = true;
  changed_.notify_all();
  changed_.wait(lock, [this] { return threads_.empty(); });
  if (ended_.joinable()) ended_.join();
}

void RequestThreads::Run() {
  platform::NameThread("http request");
  std::unique_lock lock(mutex_);
  for (;;) {
    ++idle_;
    changed_.wait_for(lock, IDLE, [this] { return stopping_ || !connections_.empty(); });
    --idle_;
    if (connections_.empty()) return JoinEnded(lock);
    const std::function<void()> serve = std::move(connections_.front());
    connections_.pop_front();
    if (connections_.size() + 1 == MOST_QUEUED) changed_.notify_all();
    if (connections_.empty()) waiting_.ForgetOwed();
    lock.unlock();
    serve();
    lock.lock();
  }
}

// The calling thread ends: it joins the one that ended before, and leaves itself to the next or to shutdown.
void RequestThreads::JoinEnded(std::unique_lock<std::mutex>& lock) {
  auto self = threads_.extract(std::this_thread::get_id());
  std::thread before = std::exchange(ended_, std::move(self.mapped()));
  changed_.notify_all();
  lock.unlock();
  if (before.joinable()) before.join();
}

}  // namespace http
