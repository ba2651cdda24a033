#include "base/call_filter.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <span>

#include <fcntl.h>
#include <seccomp.h>

namespace base {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool IS_LEAK_CHECKED = true;
#else
constexpr bool IS_LEAK_CHECKED = false;
#endif

constexpr auto NEVER_NEEDED = std::to_array<const char*>({"process_vm_readv",
                                                          "process_vm_writev",
                                                          "pidfd_getfd",
                                                          "kcmp",
                                                          "perf_event_open",
                                                          "userfaultfd",
                                                          "bpf",
                                                          "io_uring_setup",
                                                          "io_uring_enter",
                                                          "io_uring_register",
                                                          "mount",
                                                          "umount2",
                                                          "mount_setattr",
                                                          "move_mount",
                                                          "open_tree",
                                                          "fsopen",
                                                          "fsconfig",
                                                          "fsmount",
                                                          "fspick",
                                                          "pivot_root",
                                                          "chroot",
                                                          "unshare",
                                                          "setns",
                                                          "open_by_handle_at",
                                                          "init_module",
                                                          "finit_module",
                                                          "delete_module",
                                                          "kexec_load",
                                                          "kexec_file_load",
                                                          "reboot",
                                                          "swapon",
                                                          "swapoff",
                                                          "acct",
                                                          "quotactl",
                                                          "iopl",
                                                          "ioperm",
                                                          "add_key",
                                                          "request_key",
                                                          "keyctl",
                                                          "settimeofday",
                                                          "clock_settime",
                                                          "clock_adjtime",
                                                          "adjtimex",
                                                          "sethostname",
                                                          "setdomainname"});
constexpr auto OF_NETWORK = std::to_array<const char*>({"socket", "socketpair", "connect", "bind", "listen"});
constexpr auto OF_EXECUTION = std::to_array<const char*>({"execve", "execveat"});
// An empty folder may be made: every program makes its runtime directory, or finds it there.
constexpr auto OF_WRITING = std::to_array<const char*>(
    {"creat",     "openat2",   "rename",   "renameat",  "renameat2", "unlink",   "unlinkat", "rmdir",
     "link",      "linkat",    "symlink",  "symlinkat", "mknod",     "mknodat",  "truncate", "chmod",
     "fchmod",    "fchmodat",  "chown",    "fchown",    "lchown",    "fchownat", "utime",    "utimes",
     "utimensat", "futimesat", "setxattr", "lsetxattr", "fsetxattr"});

// The calls that open a file, with the number of the argument that has the flags.
struct open_call_t {
  const char* name;
  unsigned flags;
};
constexpr auto OPENING = std::to_array<open_call_t>({{"open", 1}, {"openat", 2}});

struct release_filter_t {
  void operator()(void* filter) const { seccomp_release(filter); }
};
using filter_t = std::unique_ptr<void, release_filter_t>;

// Calls that this machine's kernel does not have need no rule.
int Deny(const filter_t& filter, const char* name, std::span<const scmp_arg_cmp> arguments = {}) {
  const int call = seccomp_syscall_resolve_name(name);
  if (call < 0) return 0;
  return seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(EPERM), call,
                                static_cast<unsigned>(arguments.size()), arguments.data());
}

int DenyAll(const filter_t& filter, std::span<const char* const> names) {
  for (const char* name : names) {
    if (const int error = Deny(filter, name); error != 0) return error;
  }
  return 0;
}

// Opening for reading stays allowed.
int DenyOpeningForWriting(const filter_t& filter) {
  constexpr std::array<std::array<scmp_datum_t, 2>, 4> MASKS = {
      {{O_ACCMODE, O_WRONLY}, {O_ACCMODE, O_RDWR}, {O_CREAT, O_CREAT}, {O_TRUNC, O_TRUNC}}};
  for (const open_call_t& call : OPENING) {
    for (const auto& [mask, value] : MASKS) {
      const scmp_arg_cmp flags{call.flags, SCMP_CMP_MASKED_EQ, mask, value};
      if (const int error = Deny(filter, call.name, {&flags, 1}); error != 0) return error;
    }
  }
  return 0;
}

int AddRules(const filter_t& filter, unsigned kept) {
  int error = DenyAll(filter, NEVER_NEEDED);
  // The leak check at the end of a sanitizer build traces its own threads.
  if (error == 0 && !IS_LEAK_CHECKED) error = Deny(filter, "ptrace");
  if (error == 0 && (kept & RIGHT_NETWORK) == 0) error = DenyAll(filter, OF_NETWORK);
  if (error == 0 && (kept & RIGHT_EXECUTE) == 0) error = DenyAll(filter, OF_EXECUTION);
  if (error == 0 && (kept & RIGHT_WRITE) == 0) error = DenyAll(filter, OF_WRITING);
  if (error == 0 && (kept & RIGHT_WRITE) == 0) error = DenyOpeningForWriting(filter);
  return error;
}

}  // namespace

std::string DropRights(unsigned kept) {
  const filter_t filter(seccomp_init(SCMP_ACT_ALLOW));
  if (!filter) return "no memory for it";
  seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1);  // for all threads
  int error = AddRules(filter, kept);
  if (error == 0) error = seccomp_load(filter.get());
  return error == 0 ? "" : std::strerror(error < 0 ? -error : error);
}

void KeepRights(const char* program, unsigned kept) {
  const std::string problem = DropRights(kept);
  if (problem.empty()) return;
  std::cerr << std::string(program) + ": the kernel takes no filter of system calls (" + problem +
                   "); going on without it\n";
}

}  // namespace base
