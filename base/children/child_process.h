// A program that runs as a child of this one, and the pipes that lead to it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "base/descriptor.h"

namespace base {

struct pipe_t {
  Descriptor reading;
  Descriptor writing;
};
// No program that is started inherits it. Throws std::runtime_error.
pipe_t MakePipe();

struct child_plan_t {
  std::vector<std::string> arguments;  // the first one is the program's file
  std::vector<std::string> variables =
      {};  // "NAME=value": in its environment, in the place of this program's own
  // Become its standard input, output and error; the caller closes them. -1: nothing to read, nowhere to write.
  int input = -1;
  int output = -1;
  int errors = -1;
};

// How a program ended.
struct ending_t {
  int status = 0;  // as waitpid gives it
  bool IsSuccess() const { return status == 0; }
  bool IsCrash() const;                   // it did not end by itself
  std::optional<int> ExitStatus() const;  // empty: it did not end by itself
  std::string Describe() const;  // "ended with status 1", "was killed by signal 11 (Segmentation fault)"
};

// All calls come from one thread, and that thread must outlive the child: the kernel kills the child when the
// thread that started it ends, so that no child survives this program even where it is killed.
class ChildProcess {
 public:
  // Starts the program with signals as usual, no descriptor but the three, and in a process group of its own,
  // so that Ctrl-C in the terminal reaches this program alone. Throws std::runtime_error where there is no such
  // program or no room for a process; a program that the kernel refuses ends with status 127.
  explicit ChildProcess(const child_plan_t& plan);
  // Kills the child if it still runs, and those that it started in its group.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t Process() const { return process_; }
  void Signal(int signal) const;
  // How the child ended; empty while it runs. Does not block.
  std::optional<ending_t> TryReap();
  // The same after waiting for the end at most so long.
  std::optional<ending_t> AwaitEnd(std::chrono::milliseconds patience);
  // Asks the child to end, and kills it when it has not done so in time.
  void Stop(std::chrono::milliseconds patience);

 private:
  pid_t process_ = -1;
  std::optional<ending_t> ending_;
};

// The last line that is not empty among the last 4 KiB of a file, such as a program's last words.
std::string ReadLastLine(int file);

}  // namespace base
