#include "src/core/worker.h"

#include <algorithm>
#include <thread>

#include "platform/threads.h"

#include "src/core/console.h"

namespace {

constexpr std::chrono::milliseconds START_POLL{10};

bool IsStopRequested(const worker_t& worker, const orvikData_t* data) {
  return data->threadStop[worker.slot] != 0;
}

// False when the stop request comes before start-up has finished.
bool WaitForStart(const worker_t& worker, const orvikData_t* data) {
  while (data->running == 0) {
    if (IsStopRequested(worker, data)) return false;
    std::this_thread::sleep_for(START_POLL);
  }
  return true;
}

void Pause(const worker_t& worker) {
  if (worker.pace.count() > 0) std::this_thread::sleep_for(worker.pace);
}

// Heartbeat, step and pause. False when the step ends the worker.
bool RunTurn(const worker_t& worker, orvikData_t* data, WorkerTask& task) {
  if (worker.heartbeat != nullptr) PostEventId(data, data->*worker.heartbeat);
  if (worker.pauseBeforeStep) Pause(worker);
  if (!task.Step()) return false;
  if (!worker.pauseBeforeStep) Pause(worker);
  return true;
}

}  // namespace

int StartWorker(const worker_t& worker, void* (*body)(void*), orvikData_t* data) {
  if (worker.heartbeat != nullptr) data->*worker.heartbeat = FindEventId(data, worker.heartbeatEvent);
  data->threadStarted[worker.slot] = 1;
  const int error = platform::StartDetachedThread({worker.name, worker.priority}, body, data);
  if (error != 0) data->threadStarted[worker.slot] = 0;
  return error;
}

void RunTask(const worker_t& worker, orvikData_t* data, WorkerTask& task) {
  data->threadRunning[worker.slot] = 1;
  PrintOut(worker.readyLine);
  if (!WaitForStart(worker, data)) return;
  task.Begin();
  while (!IsStopRequested(worker, data) && RunTurn(worker, data, task)) continue;
}

void LeaveRecord(const worker_t& worker, orvikData_t* data) {
  PrintOut(worker.exitLine);
  data->threadRunning[worker.slot] = 0;
  data->threadStarted[worker.slot] = 0;
}

bool AnyWorkerLeft(const orvikData_t* data) {
  const auto isSet = [](const PlainWord<int>& flag) { return flag != 0; };
  return std::any_of(data->threadRunning.begin(), data->threadRunning.end(), isSet) ||
         std::any_of(data->threadStarted.begin(), data->threadStarted.end(), isSet);
}
