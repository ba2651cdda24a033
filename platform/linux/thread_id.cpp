#include "platform/linux/thread_id.h"

#include <unistd.h>

#include "platform/linux/unshared_descriptor.h"

namespace platform {
namespace {

thread_local pid_t cachedId = 0;

pid_t AskForId() {
  static const bool HOOKED = [] {
    AtForkInChild([] { cachedId = 0; });
    return true;
  }();
  static_cast<void>(HOOKED);
  return cachedId = gettid();
}

}  // namespace

pid_t CurrentThreadId() {
  return cachedId != 0 ? cachedId : AskForId();
}

}  // namespace platform
