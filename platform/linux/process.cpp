#include "platform/process.h"

#include <sys/prctl.h>
#include <sys/stat.h>

namespace platform {

void RestrictProcess() {
  umask(077);
  // Fails on kernels before 3.5 only, which have no such restriction.
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

}  // namespace platform
