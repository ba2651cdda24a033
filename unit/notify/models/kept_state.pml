// The exchange's kept states, its merging and its losses: everything is said again.
//
// Code:
//   unit/notify/exchange.cpp: Publish, MakeMessage, Queue, Merge, MakeRoom, DropOldest, TakeOldest, Append
//   unit/notify/exchange.cpp: Fetch, SendMissed, FindKept, Subscribe
// What holds:
//   When the publications end and the client has read its queue, it has the newest value of each state: also
//   when it subscribed late, when its full queue lost messages, and when a newer value took the place of one
//   that waited. It never goes back from a newer value to an older one. The queue never exceeds its bound.
// Bounds:
//   One publisher and one client; clients do not share a queue. Two states, of which both can be lost at once,
//   and four events, which set no state, can fill the queue and push them out. Three values of each state: one
//   that was read or lost, one that waits, one that is newer. A queue of three messages; with two the client is
//   behind. The exchange's calls are one step each, because its service has one thread. Messages have one size:
//   the bound in bytes acts as the one in messages. A sender's end, which also ends its states, is left out.
// Broken:
//   1 seen[0] == newest[0]: a dropped message is not noted as missed
//   2 seen[0] == newest[0]: a late subscriber gets only what is published later
//   3 >= seen[STATE(message)]: a new value takes the place of the oldest waiting one of its state
//   4 count <= MESSAGES: what was missed is sent without a look at the room
//   5 seen[0] == newest[0]: what was missed is forgotten when there is no room for it
//   6 seen[0] == newest[0]: a fetch does not send what was missed
//   7 >= seen[STATE(message)]: the dropped message itself is sent again, not the newest of its state
#ifndef BREAK
#define BREAK 0
#endif
#define MESSAGES 3
#define BEHIND 2
#define VALUES 3
#define EVENTS 4
#define EVENT 2                   // in the place of a state
#define MESSAGE(state, value) ((state) * 8 + (value))
#define STATE(message) ((message) / 8)
#define VALUE(message) ((message) % 8)

byte queue[MESSAGES + 1], count;  // client_t::queue, oldest first
byte newest[3];                   // channel_t::kept; 0 before the first publication, and for events
bool missed[3];                   // client_t::missed
byte dropped[3];                  // for fault 7: the last dropped value
bool subscribed;
byte seen[3];                     // what the client has read
byte message, at;                 // of the step in progress

inline TakeOldest() {
  message = queue[0]; queue[0] = queue[1]; queue[1] = queue[2]; queue[2] = queue[3]; queue[3] = 0; count--
}

inline Append(state, value) {
  queue[count] = MESSAGE(state, value); count++;
  assert(count <= MESSAGES)
}

inline SendMissedState(state) {
  if
  :: missed[state] && newest[state] != 0 && (count < MESSAGES || BREAK == 4) ->
     missed[state] = false;
     if
     :: BREAK == 7 && dropped[state] != 0 -> Append(state, dropped[state])
     :: else -> Append(state, newest[state])
     fi
  :: else -> if :: BREAK == 5 -> missed[state] = false :: else fi
  fi
}

inline FindWaiting(state) {  // the newest waiting message of the state; MESSAGES when there is none
  at = MESSAGES;
  if :: count > 0 && STATE(queue[0]) == state -> at = 0 :: else fi;
  if :: count > 1 && STATE(queue[1]) == state && (BREAK != 3 || at == MESSAGES) -> at = 1 :: else fi;
  if :: count > 2 && STATE(queue[2]) == state && (BREAK != 3 || at == MESSAGES) -> at = 2 :: else fi
}

inline Queue(state) {
  missed[state] = false;
  FindWaiting(state);
  if
  :: state != EVENT && count >= BEHIND && at != MESSAGES -> queue[at] = MESSAGE(state, newest[state])  // Merge
  :: else ->
     if
     :: count == MESSAGES ->                                                         // DropOldest
        TakeOldest();
        if
        :: STATE(message) != EVENT && (newest[STATE(message)] == VALUE(message) || BREAK == 7) ->
           missed[STATE(message)] = (BREAK != 1);
           dropped[STATE(message)] = (BREAK == 7 -> VALUE(message) : 0)
        :: else
        fi
     :: else
     fi;
     Append(state, newest[state])
  fi
}

inline Publish(state) {
  if :: state != EVENT -> newest[state]++ :: else fi;
  if :: subscribed -> Queue(state) :: else fi;
  message = 0; at = 0
}

active proctype Publisher() {
  byte events;
  do
  :: atomic { newest[0] < VALUES -> Publish(0) }
  :: atomic { newest[1] < VALUES -> Publish(1) }
  :: atomic { events < EVENTS && subscribed -> events++; Publish(EVENT) }
  :: break
  od
}

active proctype Client() {
  atomic {
    subscribed = true;
    missed[0] = (newest[0] != 0 && BREAK != 2); missed[1] = (newest[1] != 0 && BREAK != 2);
    SendMissedState(0); SendMissedState(1)
  }
end:
  do
  :: atomic {  // Fetch
       count > 0 -> TakeOldest();
       assert(VALUE(message) >= seen[STATE(message)]);
       seen[STATE(message)] = VALUE(message);
       if :: BREAK != 6 -> SendMissedState(0); SendMissedState(1) :: else fi;
       message = 0
     }
  od
}

active proctype Rest() {  // nobody can take a step any more
  timeout -> assert(seen[0] == newest[0] && seen[1] == newest[1] && !missed[0] && !missed[1])
}
