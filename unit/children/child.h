// A program that runs as a child process of this one.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "unit/children/lines.h"

namespace unit {

// How a child ended.
struct ending_t {
  int status = 0;  // as waitpid gives it
  bool IsSuccess() const { return status == 0; }
  bool IsCrash() const;          // it did not end by itself
  std::string Describe() const;  // "ended with status 1", "was killed by signal 11 (Segmentation fault)"
  // Where the kernel put the core, as far as its pattern says; empty where there is none.
  std::string DescribeCore(pid_t process) const;
};

// All calls come from one thread, and that thread must outlive the child: the kernel kills the child when the
// thread that started it ends, so that no child survives this program even where it is killed.
class Child {
 public:
  // Starts `arguments[0]` in a process group of its own, so that Ctrl-C in the terminal reaches this program
  // alone. The child's lines go to `pump` and to `watch`. Throws
  // std::runtime_error.
  Child(const std::string& name, const std::vector<std::string>& arguments, LinePump& pump,
        std::shared_ptr<LineWatch> watch);
  // Kills the child if it still runs.
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  pid_t Process() const { return process_; }
  void Signal(int signal) const;
  // How the child ended; empty while it runs. Does not block.
  std::optional<ending_t> TryReap();

 private:
  pid_t process_ = -1;
  std::optional<ending_t> ending_;
};

}  // namespace unit
