#include "platform/process.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace platform {
namespace {

// Those that the process was started with. Their numbers begin at 0, and few are above; a descriptor beyond
// `limit` takes no place below it.
unsigned CountOpen(unsigned limit) {
  unsigned open = 0;
  for (unsigned number = 0; number < limit; ++number) {
    if (fcntl(static_cast<int>(number), F_GETFD) >= 0) ++open;
  }
  return open;
}

// The soft limit, after it was raised to the hard one.
rlim_t RaiseDescriptorLimit(rlim_t wanted) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return wanted;
  if (limit.rlim_cur >= wanted) return limit.rlim_cur;
  const rlim_t before = std::exchange(limit.rlim_cur, std::min(wanted, limit.rlim_max));
  return setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : before;
}

}  // namespace

void RestrictProcess() {
  umask(077);
  // Fails on kernels before 3.5 only, which have no such restriction.
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

std::string EnsureDescriptors(unsigned needed) {
  constexpr unsigned INHERITED = 16;  // more than a shell leaves open
  const rlim_t limit = RaiseDescriptorLimit(needed + INHERITED);
  const unsigned open = CountOpen(static_cast<unsigned>(std::min<rlim_t>(limit, needed + INHERITED)));
  if (limit >= needed + open) return {};
  const std::string enough = std::to_string(needed + open);
  return "file descriptors are short: " + std::to_string(limit) + " are allowed and " + enough +
         " are needed; raise the limit, with \"ulimit -n " + enough +
         "\" or, for a service, with LimitNOFILE=" + enough;
}

}  // namespace platform
