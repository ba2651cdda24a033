#include "platform/linux/unshared_descriptor.h"

#include <cerrno>
#include <vector>

#include <pthread.h>
#include <unistd.h>

namespace platform {
namespace {

// The descriptors to close and the hooks to run in a forked child.
struct fork_state_t {
  std::mutex mutex;  // guards the rest; held during every fork
  std::vector<int> descriptors;
  std::vector<void (*)()> hooks;
};

void BeforeFork();
void AfterForkInParent();
void AfterForkInChild();

fork_state_t& State() {
  // Never destroyed, because threads may still run while the process exits.
  static fork_state_t& state = *[] {
    auto* made = new fork_state_t;
    pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
    return made;
  }();
  return state;
}

void BeforeFork() {
  State().mutex.lock();
}

void AfterForkInParent() {
  State().mutex.unlock();
}

void AfterForkInChild() {
  fork_state_t& state = State();
  for (const int number : state.descriptors) close(number);
  state.descriptors.clear();
  state.mutex.unlock();
  for (const auto hook : state.hooks) hook();
}

}  // namespace

std::mutex& UnsharedDescriptor::ForkMutex() {
  return State().mutex;
}

UnsharedDescriptor::UnsharedDescriptor(int number) : number_(number) {
  if (number >= 0) State().descriptors.push_back(number);
}

UnsharedDescriptor& UnsharedDescriptor::operator=(UnsharedDescriptor&& other) noexcept {
  if (this != &other) {
    Close();
    number_ = std::exchange(other.number_, -1);
  }
  return *this;
}

void UnsharedDescriptor::Close() {
  if (number_ < 0) return;
  const int kept = errno;
  const std::lock_guard guard(ForkMutex());
  std::erase(State().descriptors, number_);
  close(std::exchange(number_, -1));
  errno = kept;
}

void AtForkInChild(void (*hook)()) {
  const std::lock_guard guard(State().mutex);
  State().hooks.push_back(hook);
}

}  // namespace platform
