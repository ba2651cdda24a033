// The common body of the ten worker threads: set up, wait until start-up has finished, then step at a fixed
// pace until main requests the stop.
#pragma once

#include <chrono>

#include "src/core/orvik_data.h"

// The constant properties of one worker thread. Each worker has one such object beside its task.
struct worker_t {
  thread_slot_t slot;     // index of its running flag and stop request in the record
  const char* name;       // thread name
  int priority = 0;       // scheduling priority; 0 keeps the default
  const char* readyLine;  // printed on standard output when the worker is set up
  const char* exitLine;   // printed on standard output when the worker ends
  // Pause of each turn; 0 for a worker whose step waits by itself (for a message, a tick or the end of a beep).
  std::chrono::microseconds pace{0};
  // True: a turn pauses between heartbeat and step. The queue consumers do so: the frames and messages that
  // arrive during the pause are handled in the same turn. False: a turn ends with the pause.
  bool pauseBeforeStep = false;
  // Name of the event that the worker posts at the start of each turn, and the record's member that keeps the
  // event's number. Null for a worker without a heartbeat.
  const char* heartbeatEvent = nullptr;
  PlainWord<int> orvikData_t::*heartbeat = nullptr;
};

// What one worker does. The constructor of a derived class sets the worker up before its ready line; the
// destructor releases what the constructor acquired, before the exit line. All calls come from the worker's
// thread.
class WorkerTask {
 public:
  WorkerTask() = default;
  virtual ~WorkerTask() = default;
  WorkerTask(const WorkerTask&) = delete;
  WorkerTask& operator=(const WorkerTask&) = delete;

  // Called once, when `running` is set and before the first turn.
  virtual void Begin() {}
  // The work of one turn. Returns false to end the worker without a stop request.
  virtual bool Step() = 0;
};

// A task without state of its own, whose step is a function of the record.
template <void (*StepFunction)(orvikData_t*)>
class FunctionTask : public WorkerTask {
 public:
  explicit FunctionTask(orvikData_t* data) : data_(data) {}
  bool Step() override {
    StepFunction(data_);
    return true;
  }

 protected:
  orvikData_t* data_;
};

// Looks the heartbeat event's number up and starts `body(data)` as a detached thread. Returns 0, or the error
// number of the failed start. Main thread.
int StartWorker(const worker_t& worker, void* (*body)(void*), orvikData_t* data);

// Prints the ready line, sets the running flag, waits for `running` and runs the task's turns until the stop
// request or until a step returns false. A worker that is stopped before `running` is set never begins. Called
// by RunWorker.
void RunTask(const worker_t& worker, orvikData_t* data, WorkerTask& task);
// Prints the exit line and clears the worker's flags: the last access of the worker to the record. Called by
// RunWorker.
void LeaveRecord(const worker_t& worker, orvikData_t* data);
// Whether a worker may still use the record: it has been started or runs, and has not left. Main thread.
bool AnyWorkerLeft(const orvikData_t* data);

// The body of a worker thread; `record` is the orvikData_t. Returns null when the worker has ended.
template <class Task>
void* RunWorker(const worker_t& worker, void* record) {
  auto* data = static_cast<orvikData_t*>(record);
  {
    Task task(data);
    RunTask(worker, data, task);
  }
  LeaveRecord(worker, data);
  return nullptr;
}
