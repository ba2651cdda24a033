#include "src/devio/blinkers.h"

#include <chrono>
#include <mutex>
#include <string>

#include "src/core/console.h"
#include "src/core/worker.h"
#include "src/services/dbshm.h"

std::array<Blinker_t, BLINKER_COUNT> blinkers;

namespace {

// Guards `blinkers`. Held while a value is written to the database too, so that values are written in the order
// in which the table changes.
std::mutex blinkersMutex;

void WriteBlinkerValue(const Blinker_t& blinker) {
  DBSHM::Write(blinker.handle, static_cast<double>(blinker.value));
}

void StepBlinker(Blinker_t& blinker) {
  if (blinker.countdown > 0) {
    --blinker.countdown;
    return;
  }
  blinker.value = blinker.value >= blinker.maximum ? blinker.minimum : blinker.value + 1;
  blinker.countdown = blinker.period;
  WriteBlinkerValue(blinker);
}

constexpr worker_t BLINKER = {.slot = THREAD_BLINKER,
                              .name = "Blinker",
                              .readyLine = "Orvik: Blinker initialization complete",
                              .exitLine = "Orvik: Blinker thread EXIT",
                              .pace = std::chrono::milliseconds{100}};

class BlinkerTask : public FunctionTask<UpdateBlinkers> {
 public:
  using FunctionTask::FunctionTask;
  void Begin() override { InitBlinkers(data_); }
};

void* BlinkerThreadFn(void* record) {
  return RunWorker<BlinkerTask>(BLINKER, record);
}

}  // namespace

int InitBlinkerThread(orvikData_t* data) {
  return StartWorker(BLINKER, BlinkerThreadFn, data);
}

void InitBlinkers(orvikData_t* /*data*/) {
  const std::lock_guard lock(blinkersMutex);
  for (Blinker_t& blinker : blinkers) {
    blinker.active = 0;
    blinker.value = 0;
    blinker.countdown = 0;
  }
}

void StartBlinker(orvikData_t* /*data*/, int index, int minimum, int maximum, int period, unsigned handle) {
  if (index < 0 || index >= BLINKER_COUNT) {
    PrintErr("Orvik: StartBlinker ERROR!  No blinker " + std::to_string(index));
    return;
  }
  const std::lock_guard lock(blinkersMutex);
  Blinker_t& blinker = blinkers[static_cast<std::size_t>(index)];
  blinker = {.handle = handle,
             .countdown = period,
             .active = 1,
             .value = minimum,
             .minimum = minimum,
             .maximum = maximum,
             .period = period};
  WriteBlinkerValue(blinker);
}

void StopBlinker(Blinker_t* /*blinker*/, int value) {
  const std::lock_guard lock(blinkersMutex);
  Blinker_t& first = blinkers[0];
  first.active = 0;
  first.value = value;
  WriteBlinkerValue(first);
}

void SetBlinkerPeriod(orvikData_t* /*data*/, Blinker_t* blinker, int period) {
  const std::lock_guard lock(blinkersMutex);
  blinker->period = period;
}

void UpdateBlinkers(orvikData_t* /*data*/) {
  const std::lock_guard lock(blinkersMutex);
  for (Blinker_t& blinker : blinkers) {
    if (blinker.active != 0) StepBlinker(blinker);
  }
}
