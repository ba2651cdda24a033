#include "unit/health/health_publisher.h"

#include <chrono>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/threads.h"

#include "base/json_text.h"
#include "unit/service/liveness.h"

namespace unit {
namespace {

constexpr std::chrono::milliseconds LOOK_PERIOD{200};
constexpr unsigned LOOKS_PER_REPORT = 5;

}  // namespace

std::string FormatStatus(const status_t& status) {
  return base::DumpJson(
      {{"name", status.name}, {"up", status.up}, {"detail", status.detail}, {"counters", status.counters}});
}

std::vector<status_t> WorkersOf(const status_t& status) {
  constexpr std::string_view PREFIX = "worker.";
  std::vector<status_t> workers;
  for (const auto& [name, alive] : status.counters) {
    if (!name.starts_with(PREFIX)) continue;
    workers.push_back(
        {"worker " + name.substr(PREFIX.size()), alive != 0, alive != 0 ? "" : "no heartbeat", {}});
  }
  return workers;
}

HealthPublisher::HealthPublisher(std::function<std::vector<status_t>()> collect)
    : collect_(std::move(collect)), thread_([this] { Run(); }) {}

HealthPublisher::~HealthPublisher() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void HealthPublisher::Publish(const status_t& status, bool isDue) {
  const auto known = known_.find(status.name);
  if (!isDue && known != known_.end() && known->second == status.up) return;
  if (link_.Publish(HEALTH_CHANNEL_NAME, FormatStatus(status))) known_[status.name] = status.up;
}

void HealthPublisher::Run() {
  platform::NameThread("health");
  Liveness liveness("health");
  std::unique_lock lock(mutex_);
  for (unsigned look = 0; !stopping_; ++look) {
    lock.unlock();
    liveness.Note();
    const bool isDue = look % LOOKS_PER_REPORT == 0;
    for (const status_t& status : collect_()) {
      Publish(status, isDue);
      for (const status_t& worker : WorkersOf(status)) Publish(worker, isDue);
    }
    lock.lock();
    wake_.wait_for(lock, LOOK_PERIOD, [this] { return stopping_; });
  }
}

}  // namespace unit
