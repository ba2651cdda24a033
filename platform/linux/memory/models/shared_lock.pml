// The eight-byte lock of the parameter database: its word, with holders that die at every step.
//
// Code:
//   platform/linux/memory/shared_lock.cpp: TakeFreeLock, WaitForLock, LockInKernel, TakeFromDead
//   platform/linux/memory/shared_lock.cpp: UnlockShared, SetPending, ClearPending
// What holds:
//   One thread at most holds the lock. No thread sleeps in the kernel while the lock is free. After a holder's
//   death the next holder learns of it, and of the death of a holder that had just learned of one. The kernel
//   marks the word of every holder that dies. LockShared returns when its time is over, also when the word was
//   overwritten with an id that the kernel refuses.
// Bounds:
//   Three threads, each of which calls for ever: one that dies, one that waits, one that comes anew. A dead
//   thread's id is at once given to a new thread. A turn of the loop takes half of the time. Each futex call is
//   one step, because the kernel runs it under its own lock. The instructions of a thread run in program order,
//   which its fences and atomics enforce. `robust` is false on a system without robust lists; there an id is
//   not given anew within TakeFromDead.
// Broken:
//   1 !SLEEPERS: the lock is released without a look at the waiting threads
//   2 HOLDER(word) != me: the pending operation is set after the lock is taken
//   3 HOLDER(word) != me: the pending operation is cleared before the lock is released
//   4 holder == 0: a dead holder's id is replaced without a compare
//   5 !death: the kernel's mark of the death is cleared and not reported
//   6 !death: the lock of a dead holder that the kernel did not mark counts as free
//   7 turns <= LIMIT: the loop looks at the kernel's result only, not at the clock
//   8 holder == 0: the lock is taken without asking whether the thread that is in the word now is gone
// Options: -DNOREDUCE
#ifndef BREAK
#define BREAK 0
#endif
#define LIMIT 2
#define ALIEN 4              // the id of a thread that the kernel refuses to wait for
#define WAITERS 8            // flags of the kernel in the word
#define DIED 16
#define HOLDER(w) ((w) & 7)  // the id in the word
#define SLEEPERS (sleeps[1] || sleeps[2] || sleeps[3])

mtype = {ALIVE, DYING, GONE, TAKEN, FROM_DEAD, TIMED_OUT, AGAIN, NO_THREAD};
bool robust;
byte word;                 // shared_lock_t::owner
bool pending[4], sleeps[4], looks[4];
mtype life[4] = ALIVE;
chan kill = [0] of { byte };
byte holder;               // for the claims alone: who may use the data now
bool death;                // and: a holder has died, and no later one has released the lock

inline HandOver(flags) {   // the kernel gives the lock to one of the sleeping threads
  if
  :: sleeps[1] -> sleeps[1] = false; word = 1 | WAITERS | flags
  :: sleeps[2] -> sleeps[2] = false; word = 2 | WAITERS | flags
  :: sleeps[3] -> sleeps[3] = false; word = 3 | WAITERS | flags
  fi
}

inline FutexLockPi() {
  if
  :: HOLDER(word) == me -> result = NO_THREAD  // EDEADLK
  :: HOLDER(word) == ALIEN -> result = AGAIN   // EPERM
  :: HOLDER(word) == 0 && !SLEEPERS -> word = me | (word & DIED); result = TAKEN
  :: else ->
     word = word | WAITERS;
     if
     :: SLEEPERS || life[HOLDER(word)] == ALIVE -> sleeps[me] = true; result = TAKEN
     :: else -> result = (life[HOLDER(word)] == DYING -> AGAIN : NO_THREAD)
     fi
  fi
}

inline LockInKernel() {
  do
  :: atomic { FutexLockPi() }
     atomic {
       if
       :: sleeps[me] -> sleeps[me] = false; result = TIMED_OUT
       :: !sleeps[me] && result == TAKEN && (word & DIED) ->
          word = word & ~DIED; result = (BREAK == 5 -> TAKEN : FROM_DEAD)
       :: !sleeps[me] && result == NO_THREAD &&
          (HOLDER(word) == me || life[HOLDER(word)] == GONE || BREAK == 8) -> looks[me] = true; old = word
       :: else
       fi
     }
     atomic {
       if
       :: looks[me] && (word == old || BREAK == 4) ->  // TakeFromDead
          word = me | (old & WAITERS); result = (BREAK == 6 -> TAKEN : FROM_DEAD)
       :: else
       fi;
       looks[me] = false; old = 0; turns++;
       assert(turns <= LIMIT);
       if
       :: result != AGAIN && result != NO_THREAD -> break
       :: else -> if :: turns == LIMIT && BREAK != 7 -> result = TIMED_OUT; break :: else fi
       fi
     }
  od
}

proctype User(byte me) {
  mtype result;
  byte old, turns;
begin:
  {
    do
    :: atomic {                                     // TakeFreeLock
         pending[me] = (BREAK != 2);
         if :: word == 0 -> word = me; result = TAKEN :: else -> result = AGAIN fi
       }
       if :: result == AGAIN -> LockInKernel() :: else fi;
       atomic {
         turns = 0;
         if
         :: result == TIMED_OUT -> pending[me] = false; goto next
         :: else -> assert(holder == 0); holder = me; assert(!death || result == FROM_DEAD)
         fi;
         pending[me] = (BREAK != 3); result = 0
       }
       atomic {                                     // UnlockShared
         holder = 0; death = false;
         if :: word == me || BREAK == 1 -> word = 0; assert(!SLEEPERS); goto next :: else fi
       }
       atomic { if :: SLEEPERS -> HandOver(0) :: else -> word = 0 fi }  // FUTEX_UNLOCK_PI
next:  atomic { pending[me] = false; result = 0 }
    od
  } unless { kill?eval(me) };
  atomic {  // the kernel ends the thread
    life[me] = DYING; sleeps[me] = false; looks[me] = false; result = 0; old = 0; turns = 0;
    if :: holder == me -> holder = 0; death = true :: else fi
  }
  atomic {  // its robust list
    if :: robust && pending[me] && HOLDER(word) == me -> word = (word & WAITERS) | DIED :: else fi;
    assert(!robust || HOLDER(word) != me)
  }
  atomic {  // the priority-inheriting locks that others wait for
    if :: SLEEPERS && (HOLDER(word) == me || HOLDER(word) == 0) -> HandOver(DIED) :: else fi;
    pending[me] = false;
    if :: robust -> life[me] = ALIVE; goto begin :: else -> life[me] = GONE fi
  }
  atomic { !(looks[1] || looks[2] || looks[3]) -> life[me] = ALIVE; goto begin }
}

active proctype Death() {
end:
  do :: kill!1 :: kill!2 od
}

init {
  atomic {
    if :: robust = true :: robust = false fi;
    if :: word = 0 :: word = ALIEN fi;
    run User(1); run User(2); run User(3)
  }
}
