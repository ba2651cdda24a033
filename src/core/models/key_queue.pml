// The lock-free queue of key codes with two producers.
//
// Code:
//   src/core/key_queue.cpp: Push, Pop
//   src/core/queues.cpp: addKeyData, getKeyData
//   src/pages/key_report.cpp: ReportHostKey
// What holds:
//   The receive thread gets each accepted key once, whole, and the keys of one producer in their order. A push
//   is refused only while the queue is full. When both producers are done, no accepted key is missing.
// Bounds:
//   The keypad scanner and the action channel push, the receive thread pops; main only clears the key status.
//   Two cells, three keys of each producer: the ring goes round three times, and both producers meet at each
//   cell. A key is its producer and its number. The numbers of the positions wrap at 256 instead of 2^32, and
//   begin two before the wrap. A producer that sleeps while others push 2^32 keys is not modelled.
// Broken:
//   1 key != 0: the cell's turn is stored before its key
//   2 head, popped: a producer stores the head without a compare-and-exchange
//   3 key != 0: the cell is given back before its key is read
//   4 received == accepted: a push does not look whether the cell is free
//   5 head, popped: a push that lost its position to the other producer counts as refused
#ifndef BREAK
#define BREAK 0
#endif
#define CAPACITY 2
#define MASK 1
#define KEYS 3
#define BEGIN 254
#define CODE(who, number) ((1 + who) * KEYS + number)
#define DISTANCE(to, from) (((to) - (from)) & 255)
#define BEFORE(distance) ((distance) > 127)  // a negative difference

byte turn[CAPACITY], keys[CAPACITY];  // KeyQueue::cells_
byte head = BEGIN, tail = BEGIN;
byte popped = BEGIN;                  // for the claims: the position of the next cell to be given back
byte accepted, received;              // keys
byte next[2];                         // the lowest number that may come next of each producer
byte ended;                           // producers

inline Push(key) {
  position = head;
  do
  :: atomic {
       ahead = DISTANCE(turn[position & MASK], position);
       if
       :: BEFORE(ahead) || (ahead != 0 && BREAK == 5) -> assert(DISTANCE(head, popped) >= CAPACITY)
       :: else
       fi
     }
     if
     :: BEFORE(ahead) && BREAK != 4 -> break
     :: !BEFORE(ahead) && ahead != 0 -> position = head
     :: else ->
        atomic {
          if
          :: head == position || BREAK == 2 -> head = position + 1; accepted++; claimed = true
          :: true -> position = head  // another producer was faster, or the exchange fails for no reason
          fi
        }
     fi;
     if
     :: claimed && BREAK != 1 -> keys[position & MASK] = key; turn[position & MASK] = position + 1; break
     :: claimed && BREAK == 1 -> turn[position & MASK] = position + 1; keys[position & MASK] = key; break
     :: else
     fi
  od
}

proctype Producer(bit me) {
  byte position, ahead, number;
  bool claimed;
  do
  :: number == KEYS -> break
  :: else -> Push(CODE(me, number)); atomic { claimed = false; position = 0; ahead = 0; number++ }
  od;
  ended++
}

inline Take() {
  assert(key != 0 && key % KEYS >= next[key / KEYS - 1]);
  next[key / KEYS - 1] = key % KEYS + 1;
  received++
}

proctype Consumer() {
  byte key;
  bool allEnded;
  do
  :: allEnded = (ended == 2);
     if
     :: turn[tail & MASK] == ((tail + 1) & 255) ->  // Pop
        if
        :: BREAK != 3 -> key = keys[tail & MASK]; atomic { turn[tail & MASK] = tail + CAPACITY; popped++ }
        :: BREAK == 3 -> atomic { turn[tail & MASK] = tail + CAPACITY; popped++ } key = keys[tail & MASK]
        fi;
        tail++;
        atomic { Take(); key = 0 }
     :: else -> if :: allEnded -> break :: else fi
     fi
  od;
  assert(received == accepted)
}

init {
  atomic {
    turn[0] = BEGIN; turn[1] = BEGIN + 1;
    run Producer(0); run Producer(1); run Consumer()
  }
}
