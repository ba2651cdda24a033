#include "platform/shared_memory.h"

#include <fcntl.h>
#include <sys/mman.h>

namespace platform {

int OpenSharedObject(const char* name, int flags, mode_t mode) {
  return shm_open(name, flags, mode);
}

std::string DescribeObstacle(const char* /*name*/) {
  return {};
}

int UnlinkSharedObject(const char* name) {
  return shm_unlink(name);
}

void InitSharedLock(shared_lock_t& lock) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT);
  pthread_mutex_init(&lock.mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

bool TakeFreeLock(shared_lock_t& lock) {
  return pthread_mutex_trylock(&lock.mutex) == 0;
}

lock_result_t WaitForLock(shared_lock_t& lock, std::chrono::milliseconds limit) {
  timespec until{};
  clock_gettime(CLOCK_MONOTONIC, &until);
  const std::int64_t nanoseconds = until.tv_nsec + std::chrono::nanoseconds(limit).count();
  until.tv_sec += nanoseconds / 1'000'000'000;
  until.tv_nsec = nanoseconds % 1'000'000'000;
  return {.taken = pthread_mutex_timedlock_monotonic(&lock.mutex, &until) == 0};
}

void UnlockShared(shared_lock_t& lock) {
  pthread_mutex_unlock(&lock.mutex);
}

}  // namespace platform
