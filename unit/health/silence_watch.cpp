#include "unit/health/silence_watch.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "unit/health/health_publisher.h"
#include "unit/service/program_state.h"
#include "unit/service/service.h"

namespace unit {
namespace {

enum channel_index_t : std::size_t { HEALTH = 0, PROGRAM = 1 };

// False where a worker's heartbeat is missing, and where none has sent one.
bool AreWorkersWell(const nlohmann::json& status) {
  const auto counters = status.find("counters");
  if (counters == status.end()) return false;
  bool any = false;
  for (const auto& [name, value] : counters->items()) {
    if (!name.starts_with("worker.")) continue;
    if (value != 1) return false;
    any = true;
  }
  return any;
}

}  // namespace

SilenceWatch::SilenceWatch()
    : subscriber_({HEALTH_CHANNEL_NAME, PROGRAM_CHANNEL_NAME},
                  [this](std::size_t channel, auto payload) { Accept(channel, payload); }) {}

void SilenceWatch::Accept(std::size_t channel, std::span<const std::uint8_t> payload) {
  if (channel == HEALTH) return AcceptHealth(payload, std::chrono::steady_clock::now());
  const std::optional<program_state_t> state = ReadProgramState(payload);
  const std::lock_guard lock(mutex_);
  if (state) isSending_ = state->isRunning;
}

void SilenceWatch::AcceptHealth(std::span<const std::uint8_t> payload, TimePoint now) {
  const nlohmann::json status = nlohmann::json::parse(payload.begin(), payload.end(), nullptr, false);
  if (!status.is_object() || status.value("name", "") != "notify") return;
  const std::lock_guard lock(mutex_);
  lastReport_ = now;
  if (isSending_ && AreWorkersWell(status)) {
    silentSince_.reset();
  } else if (!silentSince_) {
    silentSince_ = now;
  }
}

// Counted up to the last report, so that a manager that hangs makes no application silent.
std::chrono::steady_clock::duration SilenceWatch::SilentFor(TimePoint started) const {
  const std::lock_guard lock(mutex_);
  if (!silentSince_ || !subscriber_.IsConnected()) return {};
  return std::max(lastReport_ - std::max(*silentSince_, started), std::chrono::steady_clock::duration{});
}

}  // namespace unit
