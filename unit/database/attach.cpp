#include "unit/database/attach.h"

#include <optional>
#include <thread>
#include <utility>

#include "src/services/dbshm.h"
#include "unit/database/database_owner.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

std::shared_mutex viewMutex;  // guards all below and the attached mapping
unsigned number = 0;          // DatabaseView::Number()
bool isOwner = false;
std::optional<object_id_t> attached;
steady_clock::time_point nextLook;

// The mutex is held, shared or exclusively.
bool NeedsLook() {
  return !isOwner && (number == 0 || steady_clock::now() >= nextLook);
}

// The mutex is held exclusively. The attached database stays attached until a new one is complete, also when
// its owner is dead.
void Look() {
  nextLook = steady_clock::now() + DatabaseView::LOOK_PERIOD;
  const std::optional<object_id_t> there = IdentifyDatabase();
  if (!there || there == attached) return;
  DBSHM::Open();
  if (DBSHM::getMemoryPtr() == nullptr) return;
  attached = there;
  ++number;
}

}  // namespace

void MakeAttachedDatabase(std::span<const parameter_t> parameters) {
  const std::lock_guard lock(viewMutex);
  if (std::exchange(isOwner, true)) RemoveDatabase();
  MakeDatabase(parameters);
  ++number;
}

DatabaseView::DatabaseView() : lock_(viewMutex) {
  if (!NeedsLook()) return;
  lock_.unlock();
  {
    const std::lock_guard alone(viewMutex);
    if (NeedsLook()) Look();
  }
  lock_.lock();
}

unsigned DatabaseView::Number() const {
  return number;
}

bool DatabaseWatch::WasReplaced() {
  const unsigned now = DatabaseView().Number();
  return now != std::exchange(number_, now);
}

bool AttachDatabase(int timeout_ms) {
  const auto deadline = steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  while (DatabaseView().Number() == 0) {
    if (steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

std::optional<double> ReadParameterValue(unsigned handle) {
  double value = 0;
  return DBSHM::Read(handle, value) == 1 ? std::optional(value) : std::nullopt;
}

}  // namespace unit
