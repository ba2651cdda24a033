#include "base/children/child_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace base {
namespace {

constexpr int NOT_STARTED = 127;

std::vector<char*> ToPointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> MakeEnvironment(const std::vector<std::string>& variables) {
  std::vector<std::string> environment = variables;
  for (char** each = environ; *each != nullptr; ++each) {
    const std::string_view variable(*each);
    const std::string_view name = variable.substr(0, variable.find('=') + 1);
    const bool isReplaced = !name.empty() && std::ranges::any_of(variables, [name](const std::string& own) {
      return own.starts_with(name);
    });
    if (!isReplaced) environment.emplace_back(variable);
  }
  return environment;
}

struct program_call_t {
  std::vector<char*> arguments;
  std::vector<char*> environment;
  std::array<int, 3> files;
};

void TakeSignalsAsUsual() {
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  for (const int signal : {SIGPIPE, SIGXFSZ, SIGINT, SIGTERM}) static_cast<void>(std::signal(signal, SIG_DFL));
}

// Runs in the child between fork and exec. It makes system calls only: locks of this program's other threads
// may be held in the copy for ever.
[[noreturn]] void BecomeProgram(const program_call_t& call, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(NOT_STARTED);  // the parent died before prctl took effect
  setpgid(0, 0);
  TakeSignalsAsUsual();
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
    const int file = call.files[static_cast<std::size_t>(standard)];
    dup2(file < 0 ? null : file, standard);
  }
  close_range(STDERR_FILENO + 1, ~0U, 0);  // descriptors that a library opened without close-on-exec
  execve(call.arguments[0], call.arguments.data(), call.environment.data());
  _exit(NOT_STARTED);
}

}  // namespace

pipe_t MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
  }
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

bool ending_t::IsCrash() const {
  return WIFSIGNALED(status);
}

std::optional<int> ending_t::ExitStatus() const {
  return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
}

std::string ending_t::Describe() const {
  if (!IsCrash()) return "ended with status " + std::to_string(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  return "was killed by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

ChildProcess::ChildProcess(const child_plan_t& plan) {
  std::vector<std::string> arguments = plan.arguments;
  std::vector<std::string> environment = MakeEnvironment(plan.variables);
  const program_call_t call{
      ToPointers(arguments), ToPointers(environment), {plan.input, plan.output, plan.errors}};
  const pid_t parent = getpid();
  const bool canRun = access(arguments[0].c_str(), X_OK) == 0;
  if (canRun) process_ = fork();
  if (process_ == 0) BecomeProgram(call, parent);
  if (process_ < 0) throw std::runtime_error("cannot start " + arguments[0] + ": " + std::strerror(errno));
}

ChildProcess::~ChildProcess() {
  if (process_ < 0 || ending_) return;
  kill(-process_, SIGKILL);
  kill(process_, SIGKILL);  // the child may not have made its process group yet
  waitpid(process_, nullptr, 0);
}

void ChildProcess::Signal(int signal) const {
  if (process_ > 0 && !ending_) kill(process_, signal);
}

std::optional<ending_t> ChildProcess::TryReap() {
  int status = 0;
  if (!ending_ && waitpid(process_, &status, WNOHANG) == process_) ending_ = ending_t{status};
  return ending_;
}

std::optional<ending_t> ChildProcess::AwaitEnd(std::chrono::milliseconds patience) {
  if (ending_) return ending_;
  const Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
  pollfd entry{end.Get(), POLLIN, 0};
  while (end.Get() >= 0 && poll(&entry, 1, static_cast<int>(patience.count())) < 0 && errno == EINTR) continue;
  return TryReap();
}

void ChildProcess::Stop(std::chrono::milliseconds patience) {
  Signal(SIGTERM);
  if (!AwaitEnd(patience)) Signal(SIGKILL);
}

std::string ReadLastLine(int file) {
  std::array<char, 4096> text{};
  const off_t size = lseek(file, 0, SEEK_END);
  const ssize_t read =
      pread(file, text.data(), text.size(), std::max<off_t>(0, size - static_cast<off_t>(text.size())));
  std::string_view words(text.data(), static_cast<std::size_t>(std::max<ssize_t>(read, 0)));
  while (words.ends_with('\n')) words.remove_suffix(1);
  const std::size_t line = words.rfind('\n');
  return std::string(line == std::string_view::npos ? words : words.substr(line + 1));
}

}  // namespace base
