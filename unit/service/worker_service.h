// A service that keeps all its state in one object, made by Start and destroyed by Stop.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "unit/service/service.h"

namespace unit {

// The constructor of Worker starts all threads or throws std::runtime_error, the destructor ends them, and any
// thread may call Worker::GetStatus() in between.
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
    std::unique_ptr<Worker> worker;  // destroyed after the lock is released, since that takes time
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
