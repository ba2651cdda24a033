#include "src/core/worker.h"

#include <thread>

#include "platform/threads.h"

#include "src/core/console.h"

namespace {

constexpr std::chrono::milliseconds GATE_POLL{10};

void Pause(const worker_t& worker) {
  if (worker.pace.count() > 0) std::this_thread::sleep_for(worker.pace);
}

}  // namespace

int StartWorker(const worker_t& worker, void* (*body)(void*), orvikData_t* data) {
  if (worker.heartbeat != nullptr) data->*worker.heartbeat = FindEventId(data, worker.heartbeatEvent);
  return platform::StartDetachedThread({worker.name, worker.priority}, body, data);
}

bool WaitForStart(const orvikData_t* data, const PlainWord<int>& stop) {
  while (data->running == 0) {
    if (stop != 0) return false;
    std::this_thread::sleep_for(GATE_POLL);
  }
  return true;
}

void AnnounceWorker(const worker_t& worker, orvikData_t* data) {
  data->threadRunning[worker.slot] = 1;
  PrintOut(worker.readyLine);
}

bool IsWorkerStopped(const worker_t& worker, const orvikData_t* data) {
  return data->threadStop[worker.slot] != 0;
}

void BeginTurn(const worker_t& worker, orvikData_t* data) {
  if (worker.heartbeat != nullptr) PostEventId(data, data->*worker.heartbeat);
  if (worker.pauseFirst) Pause(worker);
}

void EndTurn(const worker_t& worker) {
  if (!worker.pauseFirst) Pause(worker);
}

void DismissWorker(const worker_t& worker, orvikData_t* data) {
  PrintOut(worker.exitLine);
  data->threadRunning[worker.slot] = 0;
}
