// Measures what one wake-up costs this machine: a thread that sleeps to absolute times and does nothing else.
//
//   bench_wake SECONDS      prints the processor time of a wake-up in nanoseconds
//
// It is the limit of every thread with a period: the kernel's timer, two changes of thread, and the call.
#include <ctime>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::int64_t PERIOD_NS = 1'400'000;  // the keypad scanner's
constexpr std::int64_t SECOND_NS = 1'000'000'000;

std::int64_t Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec * SECOND_NS + now.tv_nsec;
}

void SleepUntil(std::int64_t due) {
  const timespec at{due / SECOND_NS, due % SECOND_NS};
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 2;
  const auto wakes = static_cast<std::int64_t>(seconds * SECOND_NS / PERIOD_NS) + 1;
  const std::int64_t spent = Now(CLOCK_THREAD_CPUTIME_ID);
  std::int64_t due = Now(CLOCK_MONOTONIC);
  for (std::int64_t i = 0; i < wakes; ++i) SleepUntil(due += PERIOD_NS);
  std::printf("%.0f\n", static_cast<double>(Now(CLOCK_THREAD_CPUTIME_ID) - spent) / static_cast<double>(wakes));
}
