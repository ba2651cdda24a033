#include "unit/service/liveness.h"

#include <mutex>

namespace unit {
namespace {

struct registry_t {
  std::mutex mutex;  // guards the list
  std::vector<const Liveness*> threads;
};

registry_t& Registry() {
  static registry_t registry;
  return registry;
}

}  // namespace

Liveness::Liveness(const char* thread) : thread_(thread) {
  registry_t& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  registry.threads.push_back(this);
}

Liveness::~Liveness() {
  registry_t& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  std::erase(registry.threads, this);
}

std::vector<std::string> Liveness::LateThreads(Clock::time_point now) {
  registry_t& registry = Registry();
  const std::lock_guard lock(registry.mutex);
  std::vector<std::string> late;
  for (const Liveness* each : registry.threads) {
    const Clock::time_point last = each->last_;
    if (last < now && now - last > PATIENCE) late.emplace_back(each->thread_);
  }
  return late;
}

}  // namespace unit
