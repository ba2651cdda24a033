// Publishes the state of this process's services on HEALTH_CHANNEL_NAME: once a second, and that of a service
// as soon as it came up or went down.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "unit/health/notify_link.h"
#include "unit/service/service.h"

namespace unit {

// The workers that a service supervises, each with a status of its own named "worker NAME". They come from the
// counters "worker.NAME" of the service's status: 1 while the worker sends heartbeats, 0 while they are
// missing.
std::vector<status_t> WorkersOf(const status_t& status);

// {"name":"j1939","up":true,"detail":"","counters":{"received":12}}
std::string FormatStatus(const status_t& status);

// Has one thread, which ends with the object.
class HealthPublisher {
 public:
  // `collect` returns the states to publish. The publisher's thread calls it until the destructor returns.
  explicit HealthPublisher(std::function<std::vector<status_t>()> collect);
  ~HealthPublisher();
  HealthPublisher(const HealthPublisher&) = delete;
  HealthPublisher& operator=(const HealthPublisher&) = delete;

 private:
  void Run();
  void Publish(const status_t& status, bool isDue);

  std::function<std::vector<status_t>()> collect_;
  NotifyLink link_;
  std::map<std::string, bool> known_;  // which were up; of the publisher's thread
  std::mutex mutex_;                   // guards stopping_
  bool stopping_ = false;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace unit
