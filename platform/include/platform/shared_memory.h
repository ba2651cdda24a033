// Named shared memory and the eight-byte lock that lives in it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <sys/types.h>

namespace platform {

// As shm_open: opens or makes the object `name` ("/DBSHM"). Returns a close-on-exec descriptor, or -1 with
// errno. On Linux the object belongs to the runtime directory, so that two units on one machine do not meet,
// and to the process that made it: O_CREAT | O_EXCL fails with EEXIST while that process lives and makes the
// object anew when it is dead.
int OpenSharedObject(const char* name, int flags, mode_t mode);
// As shm_unlink.
int UnlinkSharedObject(const char* name);

// The lock of the parameter database: eight bytes at a fixed place of a shared object, no more. It inherits
// priority and outlives its holder: a process that is killed while holding it never blocks the others.
struct shared_lock_t {
  std::atomic<std::uint32_t> owner;  // the implementation's
  std::atomic<std::uint32_t> slot;   // 1 + the slot that the holder is writing, 0 while it only reads
};
static_assert(sizeof(shared_lock_t) == 8);

// Makes a lock in zeroed or reused memory. Called once, before any other process can see the object.
void InitSharedLock(shared_lock_t& lock);

// Takes the lock, waiting for it. Returns the slot that a holder which died was writing, if any: its value may
// be half written and the caller must make it invalid. Not recursive. A thread holds one such lock at a time.
[[nodiscard]] std::optional<std::uint32_t> LockShared(shared_lock_t& lock);
// Says which slot the holder is about to write; the lock must be held.
inline void MarkSlot(shared_lock_t& lock, std::uint32_t slot) {
  lock.slot.store(slot + 1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);  // no byte of the slot is written before its mark
}
// Gives the lock back and clears the mark.
void UnlockShared(shared_lock_t& lock);

}  // namespace platform
