// Named shared memory of Neutrino, and the eight-byte lock of the parameter database, a process-shared mutex.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <pthread.h>
#include <sys/types.h>

namespace platform {

int OpenSharedObject(const char* name, int flags, mode_t mode);
std::string DescribeObstacle(const char* name);
int UnlinkSharedObject(const char* name);

// Not needed here: no other process may make the object shorter than its mappings.
inline void GuardMapping(void* /*memory*/, std::size_t /*size*/) {}
inline void ForgetMapping(void* /*memory*/) {}

// The mutex fills the eight bytes, so there is no room for the mark of a slot: LockShared never reports the
// slot that a dead holder was writing.
struct shared_lock_t {
  pthread_mutex_t mutex;
};
static_assert(sizeof(shared_lock_t) == 8);

void InitSharedLock(shared_lock_t& lock);
struct lock_result_t {
  bool taken = false;
  std::optional<std::uint32_t> torn{};
};
[[nodiscard]] bool TakeFreeLock(shared_lock_t& lock);
[[nodiscard]] lock_result_t WaitForLock(shared_lock_t& lock, std::chrono::milliseconds limit);
[[nodiscard]] inline lock_result_t LockShared(shared_lock_t& lock, std::chrono::milliseconds limit) {
  if (TakeFreeLock(lock)) return {.taken = true};
  return WaitForLock(lock, limit);
}
inline void MarkSlot(shared_lock_t& /*lock*/, std::uint32_t /*slot*/) {}
void UnlockShared(shared_lock_t& lock);

}  // namespace platform
