#include "screen/screen_service.h"

#include <mutex>
#include <utility>

#include "screen/screen_worker.h"

namespace unit {
namespace {

class ScreenService : public Service {
 public:
  explicit ScreenService(Options_t options) : options_(std::move(options)) {}

  void Start() override {
    auto worker = std::make_unique<ScreenWorker>(options_);
    const std::lock_guard lock(mutex_);
    worker_ = std::move(worker);
  }

  void Stop() override {
    std::unique_ptr<ScreenWorker> worker;
    const std::lock_guard lock(mutex_);
    worker.swap(worker_);
  }

  Status_t GetStatus() const override {
    const std::lock_guard lock(mutex_);
    return worker_ ? worker_->GetStatus() : Status_t{"screen", false, "stopped", {}};
  }

 private:
  const Options_t options_;
  mutable std::mutex mutex_;  // guards worker_
  std::unique_ptr<ScreenWorker> worker_;
};

}  // namespace

std::unique_ptr<Service> MakeScreenService(const Options_t& options) {
  return std::make_unique<ScreenService>(options);
}

}  // namespace unit
