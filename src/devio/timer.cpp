#include "src/devio/timer.h"

#include "src/core/worker.h"

namespace {

constexpr int PRIORITY = 11;
constexpr long NANOSECONDS_PER_SECOND = 1'000'000'000;

std::int64_t Nanoseconds(const std::timespec& time) {
  return std::int64_t{time.tv_sec} * NANOSECONDS_PER_SECOND + time.tv_nsec;
}

std::timespec AddNanoseconds(std::timespec time, long nanoseconds) {
  time.tv_nsec += nanoseconds;
  if (time.tv_nsec >= NANOSECONDS_PER_SECOND) {
    ++time.tv_sec;
    time.tv_nsec -= NANOSECONDS_PER_SECOND;
  }
  return time;
}

std::timespec ReadClock() {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

constexpr worker_t TIMER = {.slot = THREAD_TIMER,
                            .name = "Timer",
                            .priority = PRIORITY,
                            .readyLine = "Orvik: Timer initialization complete",
                            .exitLine = "Orvik: Timer thread EXIT"};

class TimerTask : public WorkerTask {
 public:
  explicit TimerTask(orvikData_t* data) : data_(data) {}
  void Begin() override { last_ = ReadClock(); }
  bool Step() override {
    LowerCountdowns(data_);
    last_ = WaitForTick(alarm_, last_);
    return true;
  }

 private:
  orvikData_t* data_;
  platform::ClockAlarm alarm_;
  std::timespec last_{};
};

void* TimerThreadFn(void* record) {
  return RunWorker<TimerTask>(TIMER, record);
}

}  // namespace

int Init_Timer(orvikData_t* data) {
  return StartWorker(TIMER, TimerThreadFn, data);
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
  for (PlainWord<std::int32_t>& word : data->countdown) {
    const std::int32_t count = word;
    if (count > 0) word.Replace(count, count - 1);  // keeps a count that its owner stores meanwhile
  }
}

std::timespec WaitForTick(platform::ClockAlarm& alarm, std::timespec last) {
  const std::timespec due = AddNanoseconds(last, TICK_NANOSECONDS);
  for (;;) {
    std::timespec now = ReadClock();
    std::timespec elapsed{};
    if (IsTickDue(ElaspedNanoSeconds(&last, &now, &elapsed))) return now;
    alarm.Wait(due);
  }
}
