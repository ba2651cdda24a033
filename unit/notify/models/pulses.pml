// The pulses that announce the messages of a client's queue, when either of them is full.
//
// Code:
//   unit/notify/exchange.cpp: Publish, Queue, MakeRoom, DropOldest, Append, Announce, Fetch, PayOwedPulses
//   unit/notify/notify_service.cpp: Serve, Answer, AskForTicks, Pace, Tick
//   src/services/nm_client.cpp: recvMsg, Fetch
// What holds:
//   Pulses and messages stay in step: the pulses that wait and the one that the client has taken are as many as
//   the exchange counts, and never more than the messages. A client that fetches once for each pulse therefore
//   always finds a message. When the publications end, the client gets every message that was not dropped.
// Bounds:
//   One publisher and one client, as each client has a queue and a count of its own. The service's thread
//   handles one request or tick after another, so each is one step. Queue and channel hold three, so that each
//   is full at times, alone or with the other. A pulse may find no room at any time, because the kernel's
//   memory bounds the channel too. The client may read as slowly as it likes. The pulse of wakeReceiver is left
//   out: it comes at the client's end.
// Broken:
//   1 announced == pulses + fetching: the pulse of a dropped message is not counted any more
//   2 announced <= queued: each publication is announced, also when it takes a dropped message's place
//   3 announced <= queued: a fetch does not lower the count
//   4 queued == 0: a pulse that found no room is not owed
//   5 announced == pulses + fetching: a full channel counts as a pulse that was sent
//   6 queued == 0: the tick forgets what is owed although the pulse finds no room again
#ifndef BREAK
#define BREAK 0
#endif
#define MESSAGES 3
#define ROOM 3

byte queued;     // client_t::queue
byte announced;  // client_t::announced
byte pulses;     // in the client's channel
bool owed;       // Exchange::owed_
bool fetching;   // the client has taken a pulse and has not fetched yet

inline Announce() {
  do
  :: announced < queued ->
     if
     :: pulses < ROOM -> pulses++; announced++
     :: true -> owed = (BREAK != 4); if :: BREAK == 5 -> announced++ :: else -> break fi
     fi
  :: else -> break
  od;
  assert(announced <= queued);
  assert(announced == pulses + fetching)
}

active proctype Publisher() {
  do
  :: atomic {
       if
       :: queued == MESSAGES -> queued--; if :: BREAK == 1 -> announced-- :: else fi  // DropOldest
       :: else
       fi;
       queued++;
       if :: BREAK == 2 && pulses < ROOM -> pulses++; announced++ :: else fi;
       Announce()
     }
  :: break
  od
}

active proctype Client() {
end:
  do
  :: atomic { pulses > 0 -> pulses--; fetching = true }
     atomic {  // Exchange::Fetch
       fetching = false;
       if :: BREAK != 3 -> announced-- :: else fi;
       assert(queued > 0);
       queued--;
       Announce()
     }
  od
}

active proctype Pacer() {  // its tick makes the service's thread pay what is owed
end:
  do
  :: atomic { owed -> owed = false; Announce(); if :: BREAK == 6 -> owed = false :: else fi }
  od
}

active proctype Rest() {  // nobody can take a step any more
  timeout -> assert(queued == 0)
}
