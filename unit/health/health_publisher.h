// Publishes the state of this process's services once a second on HEALTH_CHANNEL_NAME.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "unit/health/notify_link.h"
#include "unit/service/service.h"

namespace unit {

// The workers that a service supervises, as services of their own: each counter "worker.NAME" of a status, 1
// while the worker is alive and 0 while it is missing, becomes a status with the name "worker NAME".
std::vector<status_t> WorkersOf(const status_t& status);

// {"name":"j1939","up":true,"detail":"","counters":{"received":12}}
std::string FormatStatus(const status_t& status);

// Owns its thread, which ends when the object does.
class HealthPublisher {
 public:
  // `collect` gives what to publish; called on the publisher's thread until the destructor returns.
  explicit HealthPublisher(std::function<std::vector<status_t>()> collect);
  ~HealthPublisher();
  HealthPublisher(const HealthPublisher&) = delete;
  HealthPublisher& operator=(const HealthPublisher&) = delete;

 private:
  void Run();

  std::function<std::vector<status_t>()> collect_;
  NotifyLink link_;
  std::mutex mutex_;  // guards stopping_
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace unit
