// File descriptors with one owner, which forked children do not keep.
//
// A child that a process forks without exec inherits every descriptor, and with it the power to keep a socket
// or a lock of its parent alive after the parent's death. All descriptors of the platform are therefore closed
// in a child before fork() returns there; each module drops its own tables in a hook at the same moment.
#pragma once

#include <mutex>
#include <utility>

namespace platform {

// Owns one descriptor; closes it when destroyed. Not for use by two threads at once.
class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor() { Close(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  // Calls `open`, which returns a new descriptor or -1, with no fork in between. It must not call Make itself.
  template <class Open>
  static Descriptor Make(Open&& open) {
    const std::lock_guard guard(ForkMutex());
    return Descriptor(open());
  }

  // Takes over a descriptor, or -1.
  static Descriptor Adopt(int number) {
    return Make([number] { return number; });
  }

  int Get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }
  // Keeps errno.
  void Close();

 private:
  explicit Descriptor(int number);
  static std::mutex& ForkMutex();

  int number_ = -1;
};

// Runs `hook` in every child that this process forks, on the only thread of the child, before fork() returns
// there. The hook must take no lock that another thread of the parent may hold.
void AtForkInChild(void (*hook)());

}  // namespace platform
