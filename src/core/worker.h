// The one body that all worker threads have: set up, wait for the gate, then a step at its pace until the stop
// request.
#pragma once

#include <chrono>

#include "src/core/orvik_data.h"

// What one worker differs in, beside its task.
struct worker_t {
  thread_slot_t slot;     // its running flag and stop request
  const char* name;       // of the thread
  int priority;           // 0: the default
  const char* readyLine;  // printed once it is set up
  const char* exitLine;   // printed when it ends
  // The pause of each turn; 0 where the step itself waits. With `pauseFirst` the heartbeat is posted, then
  // comes the pause and then the step, so that a worker that consumes a queue has beaten before its first step.
  std::chrono::microseconds pace{0};
  bool pauseFirst = false;
  // The event posted at the begin of each turn, and where the record keeps its number; null: none.
  const char* heartbeatEvent = nullptr;
  PlainWord<int> orvikData_t::*heartbeat = nullptr;
};

// Looks the heartbeat event's number up and starts `body(data)` as a detached thread. Returns 0 or an error
// number.
int StartWorker(const worker_t& worker, void* (*body)(void*), orvikData_t* data);

// Polls every 10 ms until `running` is set, or until the stop request comes. Returns false in the latter case.
bool WaitForStart(const orvikData_t* data, const PlainWord<int>& stop);

// Parts of RunWorker.
void AnnounceWorker(const worker_t& worker, orvikData_t* data);
bool IsWorkerStopped(const worker_t& worker, const orvikData_t* data);
// The heartbeat, and the pause of a worker that pauses first.
void BeginTurn(const worker_t& worker, orvikData_t* data);
void EndTurn(const worker_t& worker);
void DismissWorker(const worker_t& worker, orvikData_t* data);

// The thread's body. A Task is made from the record, which sets the worker up; has Begin(), called once behind
// the gate, and Step(), which returns false to end the loop before a stop request; its destructor ends what it
// began. A worker that is asked to stop before the gate opens never begins.
template <class Task>
void* RunWorker(const worker_t& worker, void* record) {
  auto* data = static_cast<orvikData_t*>(record);
  {
    Task task(data);
    AnnounceWorker(worker, data);
    if (WaitForStart(data, data->threadStop[worker.slot])) {
      task.Begin();
      while (!IsWorkerStopped(worker, data)) {
        BeginTurn(worker, data);
        if (!task.Step()) break;
        EndTurn(worker);
      }
    }
  }
  DismissWorker(worker, data);
  return nullptr;
}

// A task without a state of its own, whose step is a function of the record.
template <void (*StepFunction)(orvikData_t*)>
class FunctionTask {
 public:
  explicit FunctionTask(orvikData_t* data) : data_(data) {}
  void Begin() {}
  bool Step() {
    StepFunction(data_);
    return true;
  }

 private:
  orvikData_t* data_;
};
