// The start gate, the workers' turns and the four passes of the stop.
//
// Code:
//   src/core/worker.h: RunWorker
//   src/core/worker.cpp: StartWorker, RunTask, WaitForStart, IsStopRequested, RunTurn
//   src/core/worker.cpp: LeaveRecord, AnyWorkerLeft
//   src/startup/startup.cpp: StartWorkers, FinishStartUp
//   src/startup/shutdown.cpp: StopWorkers, WakeReceivers
//   src/startup/application.cpp: RunApplication
//   src/services/nm_client.cpp: recvMsg, wakeReceiver
//   src/hostlink/can_transport.cpp: ConnectReceiver
// What holds:
//   main destroys the record only when no worker uses it any more. A worker begins only when the record is
//   initialised. main ends after four passes at most. A receiver that waits for a message ends too.
// Bounds:
//   Two workers: one with a pace, and one that blocks in a receive; each of the ten is like one of these. The
//   stop may be requested as soon as the gate is open. The receiver's channel has room for one pulse, and two
//   messages arrive at any time. There is no clock: what holds, holds however slow a worker or main is.
// Broken:
//   1 !destroyed: a worker counts only from its running flag on, not while it sets itself up
//   2 !destroyed: a worker clears its flags before it destroys its task
//   3 !destroyed: main destroys the record when the passes are over
//   4 initialised: main opens the gate before it initialises the record
//   5 invalid end state: main wakes the receiver before it requests the stop
//   6 invalid end state: main wakes no receiver
//   7 passes <= PASSES: the wait goes on while a worker runs
#ifndef BREAK
#define BREAK 0
#endif
#define PASSES 4
#define PACED 0
#define RECEIVER 1

bool gate, initialised, destroyed;         // orvikData_t::running; the record
bool started[2], running[2], stop[2];      // threadStarted, threadRunning, threadStop
bool client;                               // canNmClient
byte pulses;                               // that wait in the receiver's channel

inline Pulse() {  // never blocks; lost where the channel is full
  atomic { if :: pulses == 0 -> pulses++ :: else fi }
}

inline UseRecord() {
  assert(!destroyed)
}

inline ClearFlags() {
  UseRecord();
  running[me] = false;
  started[me] = false
}

proctype Worker(bit me) {
  UseRecord();                             // the task's constructor
  if :: me == RECEIVER -> client = true :: else fi;
  running[me] = true;
  do                                       // WaitForStart
  :: gate -> break
  :: else -> if :: stop[me] -> goto leave :: else fi
  od;
  assert(initialised);
  do                                       // turns
  :: stop[me] -> break
  :: else ->
     UseRecord();
     if
     :: me == PACED
     :: me == RECEIVER -> atomic { pulses > 0 -> pulses-- }
     fi
  od;
leave:
  if :: BREAK == 2 -> ClearFlags() :: else fi;
  UseRecord();                             // the task's destructor
  if :: BREAK != 2 -> ClearFlags() :: else fi
}

active proctype Main() {
  byte passes;
  bool left;
  started[PACED] = (BREAK != 1);
  run Worker(PACED);
  started[RECEIVER] = (BREAK != 1);
  run Worker(RECEIVER);
  if :: BREAK == 4 -> gate = true :: else fi;
  initialised = true;
  gate = true;
  if :: BREAK == 5 && client -> Pulse() :: else fi;
  stop[PACED] = true;
  stop[RECEIVER] = true;
  if                                       // WakeReceivers
  :: client && BREAK != 5 && BREAK != 6 -> Pulse()
  :: else
  fi;
  do
  :: passes == PASSES && BREAK != 7 -> break
  :: else ->
     passes++;
     assert(passes <= PASSES);
     left = started[0] || started[1] || running[0] || running[1];
     if :: !left -> break :: else fi
  od;
  if
  :: !left || BREAK == 3 -> destroyed = true
  :: else                                  // the process ends with its threads
  fi
}

active proctype Manager() {
  Pulse();
  Pulse()
}
