// The compiler includes this header before every source of the port.
//
// Neutrino's mutex has eight bytes, which the layout of the parameter database depends on; the host's has more.
// The host's C++ library keeps the host's mutex, and the code that follows gets one of Neutrino's size. Calls
// that Linux alone has become errors in the same way.
#pragma once

#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

struct neutrino_mutex_t {
  int count;
  unsigned owner;
};

int pthread_mutex_init(neutrino_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int pthread_mutex_destroy(neutrino_mutex_t* mutex);
int pthread_mutex_lock(neutrino_mutex_t* mutex);
int pthread_mutex_trylock(neutrino_mutex_t* mutex);
int pthread_mutex_timedlock_monotonic(neutrino_mutex_t* mutex, const timespec* until);
int pthread_mutex_unlock(neutrino_mutex_t* mutex);

#define pthread_mutex_t neutrino_mutex_t
#undef PTHREAD_MUTEX_INITIALIZER
#define PTHREAD_MUTEX_INITIALIZER \
  { 0, 0 }
#pragma GCC poison epoll_create1 eventfd timerfd_create signalfd memfd_create prctl syscall gettid mremap
