#include "bus/can_frame.h"

#include <chrono>

namespace bus {

std::uint64_t RealTime_us() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

}  // namespace bus
