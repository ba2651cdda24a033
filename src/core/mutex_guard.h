// Holds one of the record's mutexes for a scope.
#pragma once

#include <pthread.h>

// Locks in the constructor, unlocks in the destructor. The mutex was initialised by main; a process-private
// mutex that is locked by its own thread only once cannot fail, so no result is looked at.
class MutexGuard {
 public:
  explicit MutexGuard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~MutexGuard() { pthread_mutex_unlock(&mutex_); }
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

 private:
  pthread_mutex_t& mutex_;
};
