// The eight-byte lock. Word 0 is a priority-inheriting futex: the holder's thread id and flags of the kernel.
//
// A free lock is taken and released by one compare-and-exchange each, without a system call. The kernel's
// robust list detects the death of a holder: from before a thread takes the lock until after it has released
// it, the lock is the pending operation of the thread's list, and the kernel marks the lock when the thread
// dies. A later thread with the same id is therefore not mistaken for the holder. On a system without robust
// lists the kernel still refuses to wait for a thread that does not exist.
#include <bit>
#include <cerrno>
#include <fstream>
#include <string>

#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/thread_id.h"
#include "platform/shared_memory.h"

#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#include <sanitizer/tsan_interface.h>
// The kernel passes the lock from one process to another, which ThreadSanitizer cannot see; these calls tell
// it.
static void NoteAcquired(void* lock) {
  __tsan_acquire(lock);
}
static void NoteReleased(void* lock) {
  __tsan_release(lock);
}
#else
static void NoteAcquired(void* /*lock*/) {}
static void NoteReleased(void* /*lock*/) {}
#endif

namespace platform {
namespace {

robust_list_head* AskForRobustList() {
  robust_list_head* head = nullptr;
  std::size_t size = 0;
  if (syscall(SYS_get_robust_list, 0, &head, &size) != 0 || size != sizeof *head) return nullptr;
  return head;
}

// The robust list head that the C library has registered for the calling thread; null when there is none. A
// forked child has it at the same address.
robust_list_head* RobustList() {
  thread_local robust_list_head* const HEAD = AskForRobustList();
  return HEAD;
}

// Names the lock that the calling thread takes, holds or releases as the pending operation of its robust list.
void SetPending(const shared_lock_t* lock) {
  robust_list_head* const head = RobustList();
  if (head == nullptr) return;
  std::uintptr_t entry = 0;
  if (lock != nullptr) {
    entry = reinterpret_cast<std::uintptr_t>(&lock->owner) - static_cast<std::uintptr_t>(head->futex_offset);
    entry |= 1U;  // a priority-inheriting futex
  }
  // Only the kernel reads the word, after the thread's death, so the order of the instructions is enough.
  std::atomic_signal_fence(std::memory_order_seq_cst);
  std::atomic_ref(head->list_op_pending).store(std::bit_cast<robust_list*>(entry), std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

int Futex(std::atomic<std::uint32_t>& word, int operation) {
  return static_cast<int>(syscall(SYS_futex, &word, operation, 0, nullptr, nullptr, 0));
}

// A dead process that its parent has not waited for still exists, in state Z.
bool IsThreadGone(std::uint32_t tid) {
  if (syscall(SYS_tkill, tid, 0) != 0 && errno == ESRCH) return true;
  std::ifstream status("/proc/" + std::to_string(tid) + "/stat");
  std::string line;
  if (!std::getline(status, line)) return !status.is_open();
  const auto name = line.rfind(')');
  return name != std::string::npos && name + 2 < line.size() &&
         (line[name + 2] == 'Z' || line[name + 2] == 'X');
}

// Takes the lock from a dead holder whose death the kernel has not marked.
bool TakeFromDead(shared_lock_t& lock, std::uint32_t self) {
  std::uint32_t word = lock.owner.load(std::memory_order_relaxed);
  const std::uint32_t holder = word & FUTEX_TID_MASK;
  // A thread never waits for itself, so its own id is that of a dead thread which had the same id.
  if (holder == 0 || (holder != self && !IsThreadGone(holder))) return false;
  const std::uint32_t taken = self | (word & FUTEX_WAITERS);
  return lock.owner.compare_exchange_strong(word, taken, std::memory_order_acquire);
}

// Waits in the kernel until the calling thread holds the lock. Returns whether its last holder died.
bool LockInKernel(shared_lock_t& lock, std::uint32_t self) {
  while (Futex(lock.owner, FUTEX_LOCK_PI) != 0) {
    // EINTR, EAGAIN (the holder is dying) and EINVAL (the word has changed) are temporary: try again.
    if ((errno == ESRCH || errno == EDEADLK) && TakeFromDead(lock, self)) return true;
    if (errno != EINTR) sched_yield();
  }
  if ((lock.owner.load(std::memory_order_acquire) & FUTEX_OWNER_DIED) == 0) return false;
  lock.owner.fetch_and(~static_cast<std::uint32_t>(FUTEX_OWNER_DIED), std::memory_order_relaxed);
  return true;
}

}  // namespace

void InitSharedLock(shared_lock_t& lock) {
  lock.slot.store(0, std::memory_order_relaxed);
  lock.owner.store(0, std::memory_order_release);
}

std::optional<std::uint32_t> LockShared(shared_lock_t& lock) {
  const auto self = static_cast<std::uint32_t>(CurrentThreadId());
  SetPending(&lock);
  std::uint32_t word = 0;
  const bool recovered =
      !lock.owner.compare_exchange_strong(word, self, std::memory_order_acquire) && LockInKernel(lock, self);
  NoteAcquired(&lock);
  // The mark stays until the lock is released: if this holder dies too, the next one must get it as well.
  const std::uint32_t mark = recovered ? lock.slot.load(std::memory_order_relaxed) : 0;
  if (mark == 0) return std::nullopt;
  return mark - 1;
}

void UnlockShared(shared_lock_t& lock) {
  // The compiler must not clear the mark before the slot is written.
  std::atomic_signal_fence(std::memory_order_seq_cst);
  lock.slot.store(0, std::memory_order_relaxed);
  NoteReleased(&lock);
  auto word = static_cast<std::uint32_t>(CurrentThreadId());
  if (!lock.owner.compare_exchange_strong(word, 0, std::memory_order_release)) {
    Futex(lock.owner, FUTEX_UNLOCK_PI);
  }
  SetPending(nullptr);
}

}  // namespace platform
