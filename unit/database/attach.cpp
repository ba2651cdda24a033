#include "database/attach.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "database/database_owner.h"
#include "services/dbshm.h"

namespace unit {
namespace {

std::mutex attachMutex;  // guards attached
bool attached = false;

}  // namespace

void NoteDatabaseAttached() {
  const std::lock_guard lock(attachMutex);
  attached = true;
}

bool AttachDatabase(int timeout_ms) {
  using namespace std::chrono_literals;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  const std::lock_guard lock(attachMutex);
  while (!attached) {
    if (LookAtDatabase() == DatabaseState::kComplete) {
      DBSHM::Open();
      attached = DBSHM::getMemoryPtr() != nullptr;
    }
    if (attached || std::chrono::steady_clock::now() >= deadline) break;
    std::this_thread::sleep_for(10ms);
  }
  return attached;
}

}  // namespace unit
