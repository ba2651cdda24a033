// A service whose parts are one object: made at the start, destroyed at the stop.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "unit/service/service.h"

namespace unit {

// Making a Worker starts everything or throws std::runtime_error, ~Worker() ends it, and Worker::GetStatus()
// may come from any thread in between.
template <class Worker>
class WorkerService : public Service {
 public:
  using make_t = std::function<std::unique_ptr<Worker>()>;

  WorkerService(std::string name, make_t make) : name_(std::move(name)), make_(std::move(make)) {}
  WorkerService(std::string name, const options_t& options)
      : WorkerService(std::move(name), [options] { return std::make_unique<Worker>(options); }) {}

  void Start() override {
    auto worker = make_();
    const std::lock_guard lock(mutex_);
    worker_ = std::move(worker);
  }

  void Stop() override {
    std::unique_ptr<Worker> worker;  // ends without the lock, since it may take a while
    const std::lock_guard lock(mutex_);
    worker.swap(worker_);
  }

  status_t GetStatus() const override {
    const std::lock_guard lock(mutex_);
    return worker_ ? worker_->GetStatus() : status_t{name_, false, "stopped", {}};
  }

 private:
  const std::string name_;
  const make_t make_;
  mutable std::mutex mutex_;  // guards worker_
  std::unique_ptr<Worker> worker_;
};

}  // namespace unit
