#include "src/devio/timer.h"

#include <chrono>
#include <thread>

#include "platform/threads.h"

#include "src/core/console.h"

namespace {

constexpr int PRIORITY = 11;
constexpr long NANOSECONDS_PER_SECOND = 1'000'000'000;
constexpr std::chrono::microseconds POLL{100};

std::int64_t Nanoseconds(const std::timespec& time) {
  return std::int64_t{time.tv_sec} * NANOSECONDS_PER_SECOND + time.tv_nsec;
}

std::timespec ReadClock() {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

void RunTimer(orvikData_t* data) {
  if (!WaitForStart(data, data->timerExit)) return;
  std::timespec last = ReadClock();
  while (data->timerExit == 0) {
    LowerCountdowns(data);
    last = WaitForTick(last);
  }
}

void* TimerThreadFn(void* argument) {
  auto* data = static_cast<orvikData_t*>(argument);
  data->timerReady = 1;
  PrintOut("Orvik: Timer initialization complete");
  RunTimer(data);
  PrintOut("Orvik: Timer thread EXIT");
  data->timerReady = 0;
  return nullptr;
}

}  // namespace

int Init_Timer(orvikData_t* data) {
  return platform::StartDetachedThread({"Timer", PRIORITY}, TimerThreadFn, data);
}

std::int64_t ElaspedNanoSeconds(std::timespec* start, std::timespec* end, std::timespec* result) {
  timeDiff(start, end, result);
  return Nanoseconds(*end) - Nanoseconds(*start);
}

void timeDiff(std::timespec* start, std::timespec* end, std::timespec* result) {
  result->tv_sec = end->tv_sec - start->tv_sec;
  result->tv_nsec = end->tv_nsec - start->tv_nsec;
  if (result->tv_nsec < 0) {
    --result->tv_sec;
    result->tv_nsec += NANOSECONDS_PER_SECOND;
  }
}

void LowerCountdowns(orvikData_t* data) {
  for (PlainWord_t<std::int32_t>& word : data->countdown) {
    const std::int32_t count = word;
    if (count > 0) word.Replace(count, count - 1);  // a count loaded meanwhile stays
  }
}

std::timespec WaitForTick(std::timespec last) {
  for (;;) {
    std::this_thread::sleep_for(POLL);
    std::timespec now = ReadClock();
    std::timespec elapsed{};
    if (IsTickDue(ElaspedNanoSeconds(&last, &now, &elapsed))) return now;
  }
}
