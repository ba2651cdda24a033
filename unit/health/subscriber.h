// A subscription that is made again when the notification manager was started again.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "src/services/nm_client.h"

namespace unit {

// Has two threads, which end with the object.
class Subscriber {
 public:
  // `channel` is the index of the name in the list given to the constructor.
  using handler_t = std::function<void(std::size_t channel, std::span<const std::uint8_t> payload)>;

  // The subscriber's thread calls `handle` for each message, and `connected` (may be empty) each time that the
  // subscriptions have been made: messages before that were missed.
  Subscriber(std::vector<std::string> channels, handler_t handle, std::function<void()> connected = {});
  ~Subscriber();
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  bool IsConnected() const { return connectedNow_; }

 private:
  void Run();
  void Watch();
  std::shared_ptr<NM::NMClient> Connect(std::vector<int>& numbers);
  void Receive(NM::NMClient& client, const std::vector<int>& numbers);
  bool Pause();

  const std::vector<std::string> channels_;
  const handler_t handle_;
  const std::function<void()> connected_;
  std::atomic<bool> connectedNow_{false};
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;                      // guards client_ and the wait of Pause
  std::shared_ptr<NM::NMClient> client_;  // used by the thread; here so that the destructor can wake it
  std::condition_variable wake_;
  std::thread thread_;
  std::thread watcher_;
};

}  // namespace unit
