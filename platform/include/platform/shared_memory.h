// Named shared memory, and the eight-byte lock of the parameter database.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <sys/types.h>

namespace platform {

// As shm_open: opens or creates the object `name` ("/DBSHM"). Returns a close-on-exec descriptor, or -1 with
// errno. On Linux each runtime directory has its own objects, so that two units on one machine do not share
// any; an object of another user is refused with EPERM. O_CREAT | O_EXCL fails with EEXIST while the process
// that created the object lives, and creates a new object when that process is dead.
int OpenSharedObject(const char* name, int flags, mode_t mode);
// Why OpenSharedObject cannot create the object although no process owns it, and what to do about it: on Linux
// all users make their objects in one folder, and another user may have taken the name. Empty otherwise.
std::string DescribeObstacle(const char* name);
// As shm_unlink.
int UnlinkSharedObject(const char* name);

// Another process can make an object shorter than its mappings. A thread that then reads or writes the mapping
// finds zeros instead of ending its process; what it writes, no other process sees. At most eight mappings are
// guarded at a time. On Neutrino the calls do nothing, and such an access ends the process.
void GuardMapping(void* memory, std::size_t size);
// To be called before the mapping is removed.
void ForgetMapping(void* memory);

// The lock of the parameter database: eight bytes at a fixed place of a shared object. It inherits priority,
// and a process that is killed while it holds the lock does not block the others.
struct shared_lock_t {
  std::atomic<std::uint32_t> owner;  // thread id of the holder and flags of the kernel
  std::atomic<std::uint32_t> slot;   // 1 + number of the slot that the holder is writing; 0 while it only reads
};
static_assert(sizeof(shared_lock_t) == 8);

// Initialises a lock. Called once, before another process can see the object.
void InitSharedLock(shared_lock_t& lock);

// Waits for the lock, at most for `limit`, and takes it. Not recursive. A thread may hold one such lock at a
// time. The holder writes a few bytes: one that keeps the lock longer was stopped, or the memory is damaged.
struct lock_result_t {
  bool taken = false;
  // The slot that the last holder was writing when it died, if it did: the slot may be half written, and the
  // caller must make its value not valid.
  std::optional<std::uint32_t> torn{};
};
// The two halves of LockShared: takes a free lock, and returns whether it was free; waits for one that was not.
[[nodiscard]] bool TakeFreeLock(shared_lock_t& lock);
[[nodiscard]] lock_result_t WaitForLock(shared_lock_t& lock, std::chrono::milliseconds limit);
[[nodiscard]] inline lock_result_t LockShared(shared_lock_t& lock, std::chrono::milliseconds limit) {
  if (TakeFreeLock(lock)) return {.taken = true};
  return WaitForLock(lock, limit);
}
// Marks the slot that the holder is about to write. The caller holds the lock.
inline void MarkSlot(shared_lock_t& lock, std::uint32_t slot) {
  lock.slot.store(slot + 1, std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);  // the compiler must not write the slot before its mark
}
// Clears the mark and releases the lock.
void UnlockShared(shared_lock_t& lock);

}  // namespace platform
