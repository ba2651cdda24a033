// The eight-byte lock. Word 0 is a priority-inheriting futex: the holder's thread id and flags of the kernel.
//
// A free lock is taken and released by one compare-and-exchange each, without a system call. The kernel's
// robust list detects the death of a holder: from before a thread takes the lock until after it has released
// it, the lock is the pending operation of the thread's list, and the kernel marks the lock when the thread
// dies. A later thread with the same id is therefore not mistaken for the holder. On a system without robust
// lists the kernel still refuses to wait for a thread that does not exist.
#include <bit>
#include <cerrno>
#include <chrono>
#include <ctime>
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

// The robust list head that the C library has registered for the calling thread; one that the kernel does not
// know, when there is none. A forked child has it at the same address. Null: not asked for yet.
constinit thread_local robust_list_head* robustList = nullptr;
constinit thread_local robust_list_head noRobustList{};

robust_list_head& AskForRobustList() {
  robust_list_head* head = nullptr;
  std::size_t size = 0;
  const bool exists = syscall(SYS_get_robust_list, 0, &head, &size) == 0 && size == sizeof *head;
  robustList = exists && head != nullptr ? head : &noRobustList;
  return *robustList;
}

robust_list_head& RobustList() {
  return robustList != nullptr ? *robustList : AskForRobustList();
}

// Stores the pending operation of the calling thread's robust list. Only the kernel reads the word, after the
// thread's death, so the order of the instructions is enough.
void StorePending(robust_list_head& list, std::uintptr_t entry) {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  std::atomic_ref(list.list_op_pending).store(std::bit_cast<robust_list*>(entry), std::memory_order_relaxed);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

// Names the lock that the calling thread takes, holds or releases as the pending operation of its robust list.
void SetPending(const shared_lock_t& lock) {
  constexpr std::uintptr_t PRIORITY_INHERITING = 1;
  robust_list_head& list = RobustList();
  const auto owner = reinterpret_cast<std::uintptr_t>(&lock.owner);
  StorePending(list, (owner - static_cast<std::uintptr_t>(list.futex_offset)) | PRIORITY_INHERITING);
}
void ClearPending() {
  StorePending(RobustList(), 0);
}

int Futex(std::atomic<std::uint32_t>& word, int operation, const timespec* until = nullptr) {
  return static_cast<int>(syscall(SYS_futex, &word, operation, 0, until, nullptr, 0));
}

// A moment of the monotonic clock and the same one of the time of day.
struct deadline_t {
  timespec monotonic;
  timespec timeOfDay;
};

timespec TimeAfter(clockid_t clock, std::chrono::milliseconds time) {
  timespec now{};
  clock_gettime(clock, &now);
  const std::int64_t nanoseconds = now.tv_nsec + std::chrono::nanoseconds(time).count();
  return {static_cast<time_t>(now.tv_sec + nanoseconds / 1'000'000'000),
          static_cast<long>(nanoseconds % 1'000'000'000)};
}

// Kernels before 5.14 measure the limit by the time of day alone.
int WaitForFutex(std::atomic<std::uint32_t>& word, const deadline_t& deadline) {
  if (Futex(word, FUTEX_LOCK_PI2, &deadline.monotonic) == 0) return 0;
  return errno == ENOSYS ? Futex(word, FUTEX_LOCK_PI, &deadline.timeOfDay) : -1;
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

enum class waited_t { TAKEN, TAKEN_FROM_DEAD, TIMED_OUT };

// Waits in the kernel until the calling thread holds the lock.
waited_t LockInKernel(shared_lock_t& lock, std::uint32_t self, std::chrono::milliseconds limit) {
  const deadline_t deadline{TimeAfter(CLOCK_MONOTONIC, limit), TimeAfter(CLOCK_REALTIME, limit)};
  const auto end = std::chrono::steady_clock::now() + limit;
  while (WaitForFutex(lock.owner, deadline) != 0) {
    // EINTR, EAGAIN (the holder is dying) and EINVAL (the word has changed) are temporary: try again.
    if ((errno == ESRCH || errno == EDEADLK) && TakeFromDead(lock, self)) return waited_t::TAKEN_FROM_DEAD;
    if (errno == ETIMEDOUT || std::chrono::steady_clock::now() > end) return waited_t::TIMED_OUT;
    if (errno != EINTR) sched_yield();
  }
  if ((lock.owner.load(std::memory_order_acquire) & FUTEX_OWNER_DIED) == 0) return waited_t::TAKEN;
  lock.owner.fetch_and(~static_cast<std::uint32_t>(FUTEX_OWNER_DIED), std::memory_order_relaxed);
  return waited_t::TAKEN_FROM_DEAD;
}

}  // namespace

void InitSharedLock(shared_lock_t& lock) {
  lock.slot.store(0, std::memory_order_relaxed);
  lock.owner.store(0, std::memory_order_release);
}

bool TakeFreeLock(shared_lock_t& lock) {
  SetPending(lock);
  std::uint32_t word = 0;
  const auto self = static_cast<std::uint32_t>(CurrentThreadId());
  if (!lock.owner.compare_exchange_strong(word, self, std::memory_order_acquire)) return false;
  NoteAcquired(&lock);
  return true;
}

lock_result_t WaitForLock(shared_lock_t& lock, std::chrono::milliseconds limit) {
  const waited_t waited = LockInKernel(lock, static_cast<std::uint32_t>(CurrentThreadId()), limit);
  if (waited == waited_t::TIMED_OUT) {
    ClearPending();
    return {};
  }
  NoteAcquired(&lock);
  // The mark stays until the lock is released: if this holder dies too, the next one must get it as well.
  const std::uint32_t mark =
      waited == waited_t::TAKEN_FROM_DEAD ? lock.slot.load(std::memory_order_relaxed) : 0;
  return {.taken = true, .torn = mark == 0 ? std::nullopt : std::optional(mark - 1)};
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
  ClearPending();
}

}  // namespace platform
