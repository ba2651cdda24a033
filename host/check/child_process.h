// A program of this repository that runs as a child, with its output in a file.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace check {

struct child_plan_t {
  std::vector<std::string> arguments;  // the first one is the program's file
  std::string runtimeFolder;           // its ORVIK_RUNTIME_DIR
  std::string outputFile;              // gets standard output and standard error
};

// All calls come from one thread, and that thread must outlive the child: the kernel kills the child when the
// thread that started it ends, so that no child survives this program even where it is killed.
class ChildProcess {
 public:
  // Starts the program in a process group of its own, so that Ctrl-C in the terminal reaches this program
  // alone. Throws host::Failure.
  explicit ChildProcess(const child_plan_t& plan);
  // Kills the child if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void Signal(int signal) const;
  // The status that waitpid gives; empty while the child runs. Does not block.
  std::optional<int> TryReap();
  // Asks the child to end, and kills it when it has not done so in time.
  void Stop(std::chrono::milliseconds patience);

 private:
  pid_t process_ = -1;
  std::optional<int> status_;
};

// "ended with status 1", "was killed by signal 11 (Segmentation fault)".
std::string DescribeEnding(int status);

}  // namespace check
