// The database's slots while threads die: no half-written slot is read as valid.
//
// Code:
//   src/services/dbshm.cpp: LockedDatabase, BeginWrite, Invalidate, ReadValue, StoreValue, StoreValidity
//   platform/include/platform/shared_memory.h: MarkSlot
//   platform/linux/memory/shared_lock.cpp: TakeFreeLock, WaitForLock, UnlockShared
// What holds:
//   A thread reads a value only when the whole of it was written. The slot that a dead thread was writing is
//   made not valid by the next holder; when that one dies too, by the holder after it.
// Bounds:
//   Two threads that read and write for ever, and any number of deaths at every step: the one that dies and the
//   one that comes after it. Two slots: the torn one and another. Taking and releasing the lock are one step
//   each here; platform/linux/memory/models/shared_lock.pml has their steps.
// Broken:
//   1 !half[s]: the first half is written before the slot is marked
//   2 !half[s]: the mark is cleared when the lock is taken from a dead holder
//   3 !half[s]: the mark is cleared after the lock is released
//   4 !half[s]: the thread marks its own slot before it makes the torn one not valid
//   5 !half[s]: the mark is cleared before the second half is written
//   6 !half[s]: the value is read without the lock
// Options: -DNOREDUCE
#ifndef BREAK
#define BREAK 0
#endif
#define DIED 3                // the kernel's mark in the lock's word
byte owner, mark;             // shared_lock_t; the mark is 1 + the number of the slot
bool half[2];                 // one half of the value is new, the other one old
bool expiry[2], forever[2];   // what a slot's validity consists of
chan kill = [0] of { byte };

inline Invalidate(slot) {
  expiry[slot] = false;
  forever[slot] = false
}

inline StoreValue() {
  if :: BREAK == 1 -> half[s] = true; mark = s + 1 :: else -> mark = s + 1; half[s] = true fi;
  if :: BREAK == 5 -> mark = 0 :: else fi;
  half[s] = false;
  if
  :: expiry[s] = true; forever[s] = false  // StoreValidity: for a time, not at all, for ever
  :: expiry[s] = false; forever[s] = false
  :: forever[s] = true
  fi
}

inline ReadValue() {
  if
  :: forever[s] || expiry[s] -> assert(!half[s])
  :: else -> mark = s + 1; expiry[s] = false
  fi
}

inline UnlockShared() {
  if :: BREAK != 3 -> mark = 0 :: else fi;
  owner = 0;
  if :: BREAK == 3 -> mark = 0 :: else fi
}

proctype User(byte me) {
  byte torn;
  bit s;
begin:
  {
    do
    :: atomic { if :: s = 0 :: s = 1 fi }
       if
       :: atomic { BREAK == 6 -> skip } ReadValue()
       :: atomic { owner == 0 || owner == DIED -> torn = (owner == DIED -> mark : 0); owner = me }
          if :: BREAK == 2 -> mark = 0 :: else fi;
          if :: BREAK == 4 -> mark = s + 1 :: else fi;
          if :: torn != 0 -> Invalidate(torn - 1) :: else fi;
          if :: true -> ReadValue() :: true -> StoreValue() fi;
          UnlockShared()
       fi;
       atomic { s = 0; torn = 0 }
    od
  } unless { kill?eval(me) };
  atomic { s = 0; torn = 0; owner = (owner == me -> DIED : owner); goto begin }
}

active proctype Death() {
end:
  do :: kill!1 :: kill!2 od
}

init {
  atomic { run User(1); run User(2) }
}
