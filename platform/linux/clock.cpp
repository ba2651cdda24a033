#include "platform/clock.h"

namespace {

constexpr std::uint64_t NANOSECONDS_PER_SECOND = 1'000'000'000;

}  // namespace

std::uint64_t ClockCycles() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  // Seconds and nanoseconds are converted apart: nanoseconds since start-up times 133 would overflow after four
  // years.
  return static_cast<std::uint64_t>(now.tv_sec) * CYCLES_PER_SECOND +
         static_cast<std::uint64_t>(now.tv_nsec) * (CYCLES_PER_SECOND / 500'000) / 2'000;
}

void nsec2timespec(std::timespec* result, std::uint64_t nanoseconds) {
  result->tv_sec = static_cast<std::time_t>(nanoseconds / NANOSECONDS_PER_SECOND);
  result->tv_nsec = static_cast<decltype(result->tv_nsec)>(nanoseconds % NANOSECONDS_PER_SECOND);
}
