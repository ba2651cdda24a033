#include "film/virtual/virtual_time.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <deque>
#include <limits>
#include <utility>
#include <vector>

#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/common_interface_defs.h>
#endif

#include "film/virtual/watcher.h"

namespace film {
namespace {

constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t US_PER_SECOND = 1'000'000;
constexpr std::int64_t NS_PER_US = 1'000;
constexpr std::int64_t CLOCK_AT_START = 1'000 * US_PER_SECOND;
constexpr std::size_t STACK_SIZE = 512U << 10U;

struct task_t {
  std::function<void()> body;
  std::pair<std::int64_t, std::uint64_t> due;  // time, and turn among those of one time
  std::vector<char> stack{};                   // empty: the program's own
  ucontext_t context{};
};

std::deque<task_t> tasks(1);  // the first is the program's own
std::size_t current = 0;
std::int64_t now = 0;
std::uint64_t lastTurn = 0;
bool isTerminationPending = false;

#ifdef __SANITIZE_ADDRESS__
// The sanitizer has to be told of each change of the stack, before and after it.
class StackChange {
 public:
  explicit StackChange(const task_t& to) {
    const auto [bottom, size] = StackOf(to);
    __sanitizer_start_switch_fiber(&shadow_, bottom, size);
  }
  ~StackChange() { __sanitizer_finish_switch_fiber(shadow_, nullptr, nullptr); }
  StackChange(const StackChange&) = delete;
  StackChange& operator=(const StackChange&) = delete;

  static void NoteFirst() { __sanitizer_finish_switch_fiber(nullptr, nullptr, nullptr); }

 private:
  static std::pair<const void*, std::size_t> StackOf(const task_t& task) {
    if (!task.stack.empty()) return {task.stack.data(), task.stack.size()};
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    void* bottom = nullptr;
    std::size_t size = 0;
    pthread_attr_getstack(&attributes, &bottom, &size);
    pthread_attr_destroy(&attributes);
    return {bottom, size};
  }

  void* shadow_ = nullptr;
};
#else
class StackChange {
 public:
  explicit StackChange(const task_t& /*to*/) {}
  static void NoteFirst() {}
};
#endif

void WaitUntil(std::int64_t time) {
  task_t& self = tasks[current];
  self.due = {time, ++lastTurn};
  std::size_t next = 0;
  for (std::size_t i = 1; i < tasks.size(); ++i) {
    if (tasks[i].due < tasks[next].due) next = i;
  }
  if (tasks[next].due.first > now) now = tasks[next].due.first;
  if (std::exchange(current, next) == next) return;
  [[maybe_unused]] const StackChange change(tasks[next]);
  swapcontext(&self.context, &tasks[next].context);
}

void RunBody() {
  StackChange::NoteFirst();
  tasks[current].body();
  for (;;) WaitUntil(NEVER);
}

}  // namespace

std::int64_t Now_us() {
  return now;
}

void StartTask(std::function<void()> body) {
  task_t& task = tasks.emplace_back(task_t{std::move(body), {now, ++lastTurn}, std::vector<char>(STACK_SIZE)});
  getcontext(&task.context);
  task.context.uc_stack.ss_sp = task.stack.data();
  task.context.uc_stack.ss_size = task.stack.size();
  makecontext(&task.context, RunBody, 0);
}

void Sleep(std::int64_t time_us) {
  WaitUntil(now + time_us);
}

void Block() {
  WaitUntil(NEVER - 1);
}

void WakeBlocked() {
  for (task_t& task : tasks) {
    if (task.due.first == NEVER - 1) task.due = {now, ++lastTurn};
  }
}

void RaiseTermination() {
  isTerminationPending = true;
  WakeBlocked();
}

namespace {
Watcher* theWatcher = nullptr;
}

void SetWatcher(Watcher& watcher) {
  theWatcher = &watcher;
}

Watcher& GetWatcher() {
  return *theWatcher;
}

}  // namespace film

extern "C" {

int nanosleep(const timespec* time, timespec* /*left*/) {
  film::Sleep(time->tv_sec * film::US_PER_SECOND + time->tv_nsec / film::NS_PER_US);
  return 0;
}

int clock_gettime(clockid_t /*clock*/, timespec* time) noexcept {
  const std::int64_t at = film::CLOCK_AT_START + film::now;
  *time = {at / film::US_PER_SECOND, at % film::US_PER_SECOND * film::NS_PER_US};
  return 0;
}

int kill(pid_t process, int number) noexcept {
  if (number != SIGUSR1) return static_cast<int>(syscall(SYS_kill, process, number));
  film::RaiseTermination();
  return 0;
}

int sigsuspend(const sigset_t* /*mask*/) {
  while (!film::isTerminationPending) film::Block();
  film::isTerminationPending = false;
  struct sigaction action {};
  sigaction(SIGUSR1, nullptr, &action);
  action.sa_handler(SIGUSR1);
  errno = EINTR;
  return -1;
}

int system(const char* command) {
  film::GetWatcher().OnCall("system", command);
  return 0;
}

void perror(const char* text) {
  film::GetWatcher().OnCall("err", text);
}

void _exit(int status) {
  film::GetWatcher().OnCall("exit", std::to_string(status) + " at once");
  for (;;) film::WaitUntil(film::NEVER);
}

}  // extern "C"
