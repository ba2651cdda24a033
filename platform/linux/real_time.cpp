#include <atomic>
#include <cerrno>
#include <cstring>

#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include "platform/process.h"
#include "platform/threads.h"

namespace platform {
namespace {

constexpr int PRIORITY = 1;
constexpr unsigned long TIMER_SLACK_NS = 1000;

std::atomic<bool> mayRaise{false};

bool SetPolicy(int policy, int priority) {
  sched_param parameters{};
  parameters.sched_priority = priority;
  return sched_setscheduler(0, policy, &parameters) == 0;
}

// Under a limit of locked memory, every later request for more memory would fail at the limit.
bool LockMemory() {
  rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
  if (setrlimit(RLIMIT_MEMLOCK, &limit) != 0) {
    getrlimit(RLIMIT_MEMLOCK, &limit);
    errno = EPERM;
    if (limit.rlim_cur != RLIM_INFINITY) return false;
  }
  return mlockall(MCL_CURRENT | MCL_FUTURE | MCL_ONFAULT) == 0;
}

void AddRefusal(std::string& refusals, const std::string& what) {
  refusals += (refusals.empty() ? "" : ", ") + what + " (" + std::strerror(errno) + ")";
}

}  // namespace

std::string EnterRealTime() {
  std::string refusals;
  mayRaise = SetPolicy(SCHED_FIFO, PRIORITY);
  if (!mayRaise) AddRefusal(refusals, "real-time priority");
  if (mayRaise) SetPolicy(SCHED_OTHER, 0);  // sets the slack to its default too
  if (prctl(PR_SET_TIMERSLACK, TIMER_SLACK_NS, 0, 0, 0) != 0) AddRefusal(refusals, "exact timers");
  if (!LockMemory()) AddRefusal(refusals, "locked memory");
  if (refusals.empty()) return {};
  return "the system refuses " + refusals + "; run it as root, or allow it with \"ulimit -r 1 -l unlimited\"";
}

void RaiseThread() {
  if (mayRaise) SetPolicy(SCHED_FIFO, PRIORITY);
}

}  // namespace platform
