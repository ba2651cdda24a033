// The threads that serve the server's connections, started on demand.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "http/connection.h"

namespace http {

// When all threads are taken, a further connection ends the oldest one whose request has not come yet. Where
// all threads are serving, it waits. Connections beyond MOST_QUEUED are not accepted before one of those is
// served; they have no descriptor here.
class RequestThreads : public httplib::TaskQueue {
 public:
  static constexpr std::size_t MOST_QUEUED = 64;
  static constexpr std::chrono::seconds IDLE{10};  // then a thread without work ends

  RequestThreads(std::size_t most, WaitingConnections& waiting) : most_(most), waiting_(waiting) {}

  // The library's listening thread calls both.
  void enqueue(std::function<void()> serve) override;
  // Waits until all connections are served; those whose request has not come yet are closed.
  void shutdown() override;

 private:
  void Run();
  void JoinEnded(std::unique_lock<std::mutex>& lock);

  const std::size_t most_;
  WaitingConnections& waiting_;
  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  std::deque<std::function<void()>> connections_;
  std::map<std::thread::id, std::thread> threads_;
  std::thread ended_;  // the last thread that ended by itself, to be joined
  std::size_t idle_ = 0;
  bool stopping_ = false;
};

}  // namespace http
