// Named shared memory, and the eight-byte lock: a process-shared mutex of the system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <pthread.h>
#include <sys/types.h>

namespace platform {

int OpenSharedObject(const char* name, int flags, mode_t mode);
int UnlinkSharedObject(const char* name);

// The system's mutex fills the eight bytes, so that there is no room for the mark of a slot: a slot that a dead
// holder was writing is not told.
struct shared_lock_t {
  pthread_mutex_t mutex;
};
static_assert(sizeof(shared_lock_t) == 8);

void InitSharedLock(shared_lock_t& lock);
[[nodiscard]] std::optional<std::uint32_t> LockShared(shared_lock_t& lock);
inline void MarkSlot(shared_lock_t& /*lock*/, std::uint32_t /*slot*/) {}
void UnlockShared(shared_lock_t& lock);

}  // namespace platform
