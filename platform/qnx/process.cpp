#include "platform/process.h"

namespace platform {

void RestrictProcess() {}

}  // namespace platform
