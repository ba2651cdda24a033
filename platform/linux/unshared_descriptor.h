// Owned file descriptors, which are closed in forked children.
//
// A forked child inherits all descriptors of its parent. An inherited copy keeps a socket or lock of the parent
// open after the parent's death, and its peers would not notice that death. All descriptors of the platform are
// therefore closed in the child before fork() returns there. Hooks reset the tables of the modules at the same
// time.
#pragma once

#include <mutex>
#include <utility>

namespace platform {

// Owns one descriptor; closes it when destroyed. Not for use by two threads at once.
class UnsharedDescriptor {
 public:
  UnsharedDescriptor() = default;
  ~UnsharedDescriptor() { Close(); }
  UnsharedDescriptor(UnsharedDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  UnsharedDescriptor& operator=(UnsharedDescriptor&& other) noexcept;
  UnsharedDescriptor(const UnsharedDescriptor&) = delete;
  UnsharedDescriptor& operator=(const UnsharedDescriptor&) = delete;

  // Owns the descriptor that `open` returns (-1 for none). No fork can happen during the call. `open` must not
  // call Make.
  template <class Open>
  static UnsharedDescriptor Make(Open&& open) {
    const std::lock_guard guard(ForkMutex());
    return UnsharedDescriptor(open());
  }

  // Owns an existing descriptor; -1 for none.
  static UnsharedDescriptor Adopt(int number) {
    return Make([number] { return number; });
  }

  int Get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }
  // Does not change errno.
  void Close();

 private:
  explicit UnsharedDescriptor(int number);
  static std::mutex& ForkMutex();

  int number_ = -1;
};

// Registers a function that runs in every forked child before fork() returns there. The hook must not take a
// lock that another thread of the parent may hold.
void AtForkInChild(void (*hook)());

}  // namespace platform
