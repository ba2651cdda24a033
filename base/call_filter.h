// What a program gives up before it reads files that others have made: a filter of system calls (seccomp).
#pragma once

#include <string>

namespace base {

// What a process may need. Files of others are read with none of them.
enum right_t : unsigned {
  RIGHT_NONE = 0,
  RIGHT_NETWORK = 1,  // sockets of any kind
  RIGHT_EXECUTE = 2,  // running another program
  RIGHT_WRITE = 4,  // creating, changing and removing files; open descriptors and standard output stay writable
};

// Takes the rights that `kept` does not name from this process, all its threads and its children, for good.
// Always takes what no program here needs: tracing processes, mounting, namespaces, modules, kexec, bpf,
// io_uring, keys, the clock and the like. A call that was taken fails with EPERM, so that a library which can
// do without goes on. It is a list of what is denied, not of what is allowed: the drawing and network libraries
// use other calls in each version, and an application that dies of a new harmless call would be worse than a
// call too many. Returns why the kernel refuses the filter; empty where it holds.
std::string DropRights(unsigned kept);

// The same at the beginning of a command. Where the kernel refuses, the program says so in one line on standard
// error and goes on, because the filter is the second fence and not the first.
void KeepRights(const char* program, unsigned kept);

}  // namespace base
