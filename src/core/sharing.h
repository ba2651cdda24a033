// The two ways in which threads share the record: words without a lock, and mutexes held for a scope.
#pragma once

#include <atomic>

#include <pthread.h>

// A variable of type T that threads read and write without a lock. A reader sees a whole value and everything
// that its writer wrote before it (release stores, acquire loads). Read-modify-write is not atomic, except for
// Replace: a word has one writer, or a lost update does no harm.
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
  // Stores `to` if the word still holds `from`; returns whether it did.
  bool Replace(T from, T to) { return value_.compare_exchange_strong(from, to, std::memory_order_acq_rel); }

 private:
  std::atomic<T> value_{};
};

// Locks in the constructor, unlocks in the destructor. The results are not checked: locking an initialised
// mutex of this process fails only when the thread holds it already.
class MutexGuard {
 public:
  explicit MutexGuard(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~MutexGuard() { pthread_mutex_unlock(&mutex_); }
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

 private:
  pthread_mutex_t& mutex_;
};
