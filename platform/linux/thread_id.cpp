#include "platform/linux/thread_id.h"

#include <unistd.h>

#include "platform/linux/unshared_descriptor.h"

namespace platform {

constinit thread_local pid_t cachedThreadId = 0;

pid_t AskForThreadId() {
  static const bool HOOKED = [] {
    AtForkInChild([] { cachedThreadId = 0; });
    return true;
  }();
  static_cast<void>(HOOKED);
  return cachedThreadId = gettid();
}

}  // namespace platform
