#include "platform/threads.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include <pthread.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::size_t NAME_SIZE = 16;  // with its terminating zero
constexpr std::chrono::microseconds CLOCK_POLL{100};

struct start_t {
  void* (*body)(void*);
  void* argument;
  std::array<char, NAME_SIZE> name{};
};

void* RunNamed(void* argument) {
  const std::unique_ptr<start_t> start(static_cast<start_t*>(argument));
  // The thread names itself, because a detached thread may have ended before its creator could name it.
  NameThread(start->name.data());
  return start->body(start->argument);
}

std::unique_ptr<start_t> CreateStart(const thread_attributes_t& attributes, void* (*body)(void*),
                                     void* argument) {
  auto start = std::make_unique<start_t>(start_t{body, argument});
  if (attributes.name != nullptr) std::strncpy(start->name.data(), attributes.name, NAME_SIZE - 1);
  return start;
}

// Linux has no priorities for SCHED_OTHER, so a Neutrino priority is limited to the allowed range.
sched_param AllowedPriority(int priority) {
  sched_param allowed{};
  allowed.sched_priority =
      std::clamp(priority, sched_get_priority_min(SCHED_OTHER), sched_get_priority_max(SCHED_OTHER));
  return allowed;
}

// Blocks SIGUSR1 on the calling thread for a scope. Threads created in the scope inherit the block.
class UserSignalBlock {
 public:
  UserSignalBlock() {
    sigset_t userSignal;
    sigemptyset(&userSignal);
    sigaddset(&userSignal, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &userSignal, &before_);
  }
  ~UserSignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  UserSignalBlock(const UserSignalBlock&) = delete;
  UserSignalBlock& operator=(const UserSignalBlock&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

int StartDetachedThread(const thread_attributes_t& attributes, void* (*body)(void*), void* argument) {
  pthread_attr_t settings;
  if (const int error = pthread_attr_init(&settings); error != 0) return error;
  const sched_param priority = AllowedPriority(attributes.priority);
  pthread_attr_setdetachstate(&settings, PTHREAD_CREATE_DETACHED);
  pthread_attr_setschedpolicy(&settings, SCHED_OTHER);
  pthread_attr_setschedparam(&settings, &priority);

  auto start = CreateStart(attributes, body, argument);
  const UserSignalBlock block;
  pthread_t thread{};
  const int error = pthread_create(&thread, &settings, RunNamed, start.get());
  if (error == 0) static_cast<void>(start.release());  // the new thread owns it
  pthread_attr_destroy(&settings);
  return error;
}

void NameThread(const char* name) {
  pthread_setname_np(pthread_self(), std::string(name).substr(0, NAME_SIZE - 1).c_str());
}

ClockAlarm::ClockAlarm() : descriptor_(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC)) {}

ClockAlarm::~ClockAlarm() {
  if (descriptor_ >= 0) close(descriptor_);
}

// The read fails at once when the clock is set.
void ClockAlarm::Wait(const std::timespec& due) {
  const itimerspec once{.it_interval = {}, .it_value = due};
  constexpr int FLAGS = TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET;
  if (descriptor_ < 0 || timerfd_settime(descriptor_, FLAGS, &once, nullptr) != 0) {
    std::this_thread::sleep_for(CLOCK_POLL);
    return;
  }
  std::uint64_t expirations = 0;
  [[maybe_unused]] const ssize_t got = read(descriptor_, &expirations, sizeof expirations);
}

}  // namespace platform
