#include "platform/threads.h"

#include <chrono>
#include <memory>
#include <thread>

#include <pthread.h>
#include <signal.h>

namespace platform {
namespace {

struct start_t {
  const char* name;  // must outlive the thread; callers pass string constants
  void* (*body)(void*);
  void* argument;
};

void* RunNamed(void* argument) {
  const std::unique_ptr<start_t> owned(static_cast<start_t*>(argument));
  if (owned->name != nullptr) pthread_setname_np(pthread_self(), owned->name);
  return owned->body(owned->argument);
}

void SetSchedule(pthread_attr_t& settings, int priority) {
  if (priority == 0) return;
  sched_param parameters{};
  parameters.sched_priority = priority;
  pthread_attr_setinheritsched(&settings, PTHREAD_EXPLICIT_SCHED);
  pthread_attr_setschedpolicy(&settings, SCHED_OTHER);
  pthread_attr_setschedparam(&settings, &parameters);
}

}  // namespace

int StartDetachedThread(const thread_attributes_t& attributes, void* (*body)(void*), void* argument) {
  pthread_attr_t settings;
  pthread_attr_init(&settings);
  pthread_attr_setdetachstate(&settings, PTHREAD_CREATE_DETACHED);
  SetSchedule(settings, attributes.priority);

  sigset_t userSignal;
  sigset_t before;
  sigemptyset(&userSignal);
  sigaddset(&userSignal, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &userSignal, &before);
  auto start = std::make_unique<start_t>(start_t{attributes.name, body, argument});
  pthread_t thread{};
  const int error = pthread_create(&thread, &settings, RunNamed, start.get());
  if (error == 0) static_cast<void>(start.release());  // the new thread owns it
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_attr_destroy(&settings);
  return error;
}

void NameThread(const char* name) {
  pthread_setname_np(pthread_self(), name);
}

void RaiseThread() {}

ClockAlarm::ClockAlarm() = default;
ClockAlarm::~ClockAlarm() = default;

void ClockAlarm::Wait(const std::timespec& /*due*/) {
  std::this_thread::sleep_for(std::chrono::microseconds(100));
}

}  // namespace platform
