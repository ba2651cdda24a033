// How threads share the record: a word read and written whole without a lock, and a lock held for a scope.
#pragma once

#include <atomic>

#include <pthread.h>

// Reads and writes like the plain T that it holds. No thread ever sees half a value, and who has read a
// word sees what its writer wrote before (release stores, acquire loads). Counting up is not atomic as a whole;
// a word has one writer, or a lost update must not matter.
template <class T>
class PlainWord {
 public:
  constexpr PlainWord() = default;
  constexpr PlainWord(T value) : value_(value) {}  // NOLINT(google-explicit-constructor): stands for the T
  PlainWord(const PlainWord& other) : value_(other.Load()) {}
  // A word may be stored into itself. NOLINTNEXTLINE(cert-oop54-cpp)
  PlainWord& operator=(const PlainWord& other) {
    Store(other.Load());
    return *this;
  }
  T operator=(T value) {  // NOLINT(cppcoreguidelines-c-copy-assignment-signature): as a plain word's assignment
    Store(value);
    return value;
  }
  operator T() const { return Load(); }  // NOLINT(google-explicit-constructor)

  T Load() const { return value_.load(std::memory_order_acquire); }
  void Store(T value) { value_.store(value, std::memory_order_release); }
  // Stores `to` unless another thread has stored something else since `from` was read.
  bool Replace(T from, T to) { return value_.compare_exchange_strong(from, to, std::memory_order_acq_rel); }

 private:
  std::atomic<T> value_{};
};

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
