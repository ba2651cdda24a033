#include "src/devio/blinkers.h"

#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "platform/threads.h"

#include "src/core/console.h"
#include "src/services/dbshm.h"

std::array<Blinker_t, BLINKER_COUNT> blinkers;

namespace {

constexpr std::chrono::milliseconds TICK{100};

// Guards the table, and keeps the database's values in the order of the table's changes.
std::mutex blinkersMutex;

void Show(const Blinker_t& blinker) {
  DBSHM::Write(blinker.handle, static_cast<double>(blinker.value));
}

void Step(Blinker_t& blinker) {
  if (blinker.countdown > 0) {
    --blinker.countdown;
    return;
  }
  blinker.value = blinker.value >= blinker.maximum ? blinker.minimum : blinker.value + 1;
  blinker.countdown = blinker.period;
  Show(blinker);
}

void RunBlinkers(orvikData_t* data) {
  if (!WaitForStart(data, data->blinkerExit)) return;
  InitBlinkers(data);
  while (data->blinkerExit == 0) {
    UpdateBlinkers(data);
    std::this_thread::sleep_for(TICK);
  }
}

void* BlinkerThreadFn(void* argument) {
  auto* data = static_cast<orvikData_t*>(argument);
  data->blinkerReady = 1;
  PrintOut("Orvik: Blinker initialization complete");
  RunBlinkers(data);
  PrintOut("Orvik: Blinker thread EXIT");
  data->blinkerReady = 0;
  return nullptr;
}

}  // namespace

int InitBlinkerThread(orvikData_t* data) {
  return platform::StartDetachedThread({"Blinker"}, BlinkerThreadFn, data);
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
  Show(blinker);
}

void StopBlinker(Blinker_t* /*blinker*/, int value) {
  const std::lock_guard lock(blinkersMutex);
  Blinker_t& first = blinkers[0];
  first.active = 0;
  first.value = value;
  Show(first);
}

void SetBlinkerPeriod(orvikData_t* /*data*/, Blinker_t* blinker, int period) {
  const std::lock_guard lock(blinkersMutex);
  blinker->period = period;
}

void UpdateBlinkers(orvikData_t* /*data*/) {
  const std::lock_guard lock(blinkersMutex);
  for (Blinker_t& blinker : blinkers) {
    if (blinker.active != 0) Step(blinker);
  }
}
