#include "host/check/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "host/protocol/errors.h"

namespace check {
namespace {

constexpr int NOT_STARTED = 127;
constexpr std::chrono::milliseconds POLL{20};
constexpr const char* RUNTIME_VARIABLE = "ORVIK_RUNTIME_DIR=";

std::vector<char*> ToPointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> MakeEnvironment(const std::string& runtimeFolder) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (!std::string_view(*variable).starts_with(RUNTIME_VARIABLE)) variables.emplace_back(*variable);
  }
  variables.push_back(RUNTIME_VARIABLE + runtimeFolder);
  return variables;
}

struct program_call_t {
  std::vector<char*> arguments;
  std::vector<char*> environment;
  int output;
};

// Runs in the child between fork and exec. It makes system calls only: locks of this program's other threads
// may be held in the copy for ever.
[[noreturn]] void BecomeProgram(const program_call_t& call, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(NOT_STARTED);  // the parent died before prctl took effect
  setpgid(0, 0);
  const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
  dup2(null, STDIN_FILENO);
  dup2(call.output, STDOUT_FILENO);
  dup2(call.output, STDERR_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  execve(call.arguments[0], call.arguments.data(), call.environment.data());
  _exit(NOT_STARTED);
}

}  // namespace

ChildProcess::ChildProcess(const child_plan_t& plan) {
  std::vector<std::string> arguments = plan.arguments;
  std::vector<std::string> environment = MakeEnvironment(plan.runtimeFolder);
  const base::Descriptor output(
      open(plan.outputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (output.Get() < 0) throw host::Failure("cannot write " + plan.outputFile + ": " + std::strerror(errno));
  const program_call_t call{ToPointers(arguments), ToPointers(environment), output.Get()};
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) BecomeProgram(call, parent);
  if (process_ < 0) throw host::Failure("cannot start " + arguments[0] + ": " + std::strerror(errno));
}

ChildProcess::~ChildProcess() {
  if (process_ < 0 || status_) return;
  kill(-process_, SIGKILL);
  kill(process_, SIGKILL);  // the child may not have made its process group yet
  waitpid(process_, nullptr, 0);
}

void ChildProcess::Signal(int signal) const {
  if (process_ > 0 && !status_) kill(process_, signal);
}

std::optional<int> ChildProcess::TryReap() {
  int status = 0;
  if (!status_ && waitpid(process_, &status, WNOHANG) == process_) status_ = status;
  return status_;
}

void ChildProcess::Stop(std::chrono::milliseconds patience) {
  Signal(SIGTERM);
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!TryReap() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(POLL);
  Signal(SIGKILL);
}

std::string DescribeEnding(int status) {
  if (!WIFSIGNALED(status)) return "ended with status " + std::to_string(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  return "was killed by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
}

}  // namespace check
