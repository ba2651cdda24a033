// The filter of system calls in a real process of its own: what is taken fails, and what is kept works.
#include "base/call_filter.h"

#include <cerrno>
#include <cstdio>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace base {
namespace {

struct attempt_t {
  const char* name;
  unsigned right;  // that allows it; 0: none does
  long (*call)();
};

long Execute() {
  char program[] = "/bin/true";
  char* arguments[] = {program, nullptr};
  const pid_t child = fork();
  if (child == 0) _exit(execv(program, arguments) != 0 && errno == EPERM ? 1 : 0);
  int status = 0;
  waitpid(child, &status, 0);
  errno = EPERM;
  return status == 0 ? 0 : -1;
}

constexpr auto NOWHERE = "/nowhere/at/all";
constexpr attempt_t ATTEMPTS[] = {
    {"socket", RIGHT_NETWORK, [] { return long{socket(AF_INET, SOCK_STREAM, 0)}; }},
    {"unix socket", RIGHT_NETWORK, [] { return long{socket(AF_UNIX, SOCK_STREAM, 0)}; }},
    {"execve", RIGHT_EXECUTE, Execute},
    {"write", RIGHT_WRITE, [] { return long{open("/dev/null", O_WRONLY)}; }},
    {"read and write", RIGHT_WRITE, [] { return long{open("/dev/null", O_RDWR)}; }},
    {"create", RIGHT_WRITE, [] { return long{open("/dev/null", O_RDONLY | O_CREAT, 0600)}; }},
    {"unlink", RIGHT_WRITE, [] { return errno = 0, long{unlink(NOWHERE) != 0 && errno == EPERM ? -1 : 0}; }},
    {"rename", RIGHT_WRITE,
     [] { return errno = 0, long{rename(NOWHERE, NOWHERE) != 0 && errno == EPERM ? -1 : 0}; }},
    {"namespace", 0, [] { return long{unshare(CLONE_FS)}; }},
};

// The first attempt whose outcome is wrong while `kept` is kept; -1: none.
int FirstWrong(unsigned kept) {
  if (!DropRights(kept).empty()) return 100;
  for (int i = 0; const attempt_t& attempt : ATTEMPTS) {
    errno = 0;
    const bool failed = attempt.call() < 0;
    if (failed != ((attempt.right & kept) == 0) || (failed && errno != EPERM)) return i;
    ++i;
  }
  if (open("/dev/null", O_RDONLY) < 0) return 101;
  std::thread([] {}).join();
  return -1;
}

// What is taken cannot be had again, so each try has a process of its own.
int TryInChild(unsigned kept) {
  const pid_t child = fork();
  if (child == 0) _exit(FirstWrong(kept) + 1);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) - 1 : 200;
}

TEST(CallFilter, WhatIsTakenFailsAndTheRestWorks) {
  for (unsigned kept = 0; kept <= (RIGHT_NETWORK | RIGHT_EXECUTE | RIGHT_WRITE); ++kept) {
    const int wrong = TryInChild(kept);
    const bool isAttempt = wrong >= 0 && wrong < static_cast<int>(std::size(ATTEMPTS));
    EXPECT_EQ(wrong, -1) << "rights " << kept << ": " << (isAttempt ? ATTEMPTS[wrong].name : "not an attempt");
  }
}

}  // namespace
}  // namespace base
