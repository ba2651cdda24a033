#include "unit/children/child.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "unit/children/stop_signals.h"

namespace unit {
namespace {

constexpr int NOT_STARTED = 127;

struct pipe_t {
  base::Descriptor reading;
  base::Descriptor writing;
};

pipe_t MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
  }
  return {base::Descriptor(ends[0]), base::Descriptor(ends[1])};
}

// Runs in the child between fork and exec. It makes system calls only: locks of this program's other threads
// may be held in the copy for ever.
[[noreturn]] void BecomeProgram(const std::vector<char*>& arguments, pid_t parent, int out, int err) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(NOT_STARTED);  // the parent died before prctl took effect
  setpgid(0, 0);
  UnblockStopSignals();
  const int null = open("/dev/null", O_RDONLY);
  dup2(null, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);  // descriptors that a library opened without close-on-exec
  execv(arguments[0], arguments.data());
  _exit(NOT_STARTED);
}

}  // namespace

std::string ending_t::Describe() const {
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return "was killed by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
  }
  return "ended with status " + std::to_string(WEXITSTATUS(status));
}

bool ending_t::IsCrash() const {
  return WIFSIGNALED(status);
}

std::string ending_t::DescribeCore(pid_t process) const {
  if (!WIFSIGNALED(status) || !WCOREDUMP(status)) return {};
  std::string pattern;
  std::getline(std::ifstream("/proc/sys/kernel/core_pattern") >> std::ws, pattern);
  if (pattern.starts_with('|')) return "its core went to " + pattern.substr(1, pattern.find(' ') - 1);
  if (const auto at = pattern.find("%p"); at != std::string::npos) {
    pattern.replace(at, 2, std::to_string(process));
  }
  return "its core is " + (std::filesystem::current_path() / pattern).string();
}

Child::Child(const std::string& name, const std::vector<std::string>& arguments, LinePump& pump,
             std::shared_ptr<LineWatch> watch) {
  std::vector<char*> raw;
  raw.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) raw.push_back(const_cast<char*>(argument.c_str()));
  raw.push_back(nullptr);
  pipe_t out = MakePipe();
  pipe_t err = MakePipe();
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) BecomeProgram(raw, parent, out.writing.Get(), err.writing.Get());
  if (process_ < 0) throw std::runtime_error("cannot start " + name + ": " + std::strerror(errno));
  pump.Add(std::move(out.reading), name, stdout, watch);
  pump.Add(std::move(err.reading), name, stderr, std::move(watch));
}

Child::~Child() {
  if (process_ < 0 || ending_) return;
  kill(-process_, SIGKILL);
  kill(process_, SIGKILL);  // the child may not have made its process group yet
  waitpid(process_, nullptr, 0);
}

void Child::Signal(int signal) const {
  if (process_ > 0 && !ending_) kill(process_, signal);
}

std::optional<ending_t> Child::TryReap() {
  int status = 0;
  if (!ending_ && waitpid(process_, &status, WNOHANG) == process_) ending_ = ending_t{status};
  return ending_;
}

}  // namespace unit
