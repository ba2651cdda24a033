// The initialisations of the record beside the threads that use its screen client and layer.
//
// Code:
//   src/startup/init_orvik_data.cpp: InitOrvikData, initialisationMutex
//   src/display/dispatcher.cpp: ServeInitRequest, InitializeAgain, InitLCD, UpdateDisplay
//   src/display/init_display.cpp: InitDisplay, CreateScreenClient
//   src/dials/dials.cpp: InitLayer
//   src/display/handles.cpp: InitGaugeHandles, InitVariableHandles
// What holds:
//   One initialisation writes the name maps and the lists of clients at a time. A thread that has read the
//   pointer to a screen client or layer may go on using it: it points to a whole object, which stays. A request
//   to initialise that comes during an initialisation is served by another one.
// Bounds:
//   Three initialisations: the dispatcher serves up to two requests while another thread calls InitLCD, so that
//   two meet and a third one replaces what a reader still uses. A reader changes nothing that others read; one
//   that reads twice stands for all. Handles are single words; the client stands for them too.
// Broken:
//   1 !writes: the initialisation takes no lock
//   2 IS_WHOLE: the pointer is stored before the client is made
//   3 IS_WHOLE: the client that another one replaces is destroyed
//   4 served == asked: the request is cleared after the initialisation
#ifndef BREAK
#define BREAK 0
#endif
#define IS_WHOLE (made[used] && !destroyed[used])

bool locked, writes;            // initialisationMutex; a thread is in the part that it guards
byte screen, clients;           // orvikData_t::screenApi and screenApis; 0 for none
bool made[5], destroyed[5];
bool request;                   // lcdInitRequest
byte asked, served;             // for the claims: requests; those before the newest initialisation began

inline InitOrvikData() {
  atomic { !locked || BREAK == 1 -> locked = true; begin = asked }
  atomic { assert(!writes); writes = true }
  clients++;
  if :: BREAK == 2 -> screen = clients :: else fi;
  made[clients] = true;
  screen = clients;
  if :: BREAK == 3 -> destroyed[clients - 1] = true :: else fi;
  atomic { writes = false; locked = false; served = (begin > served -> begin : served); begin = 0 }
}

active proctype Parser() {
  do
  :: asked < 2 -> atomic { asked++; request = true }
  :: break
  od
}

active proctype Dispatcher() {
  byte begin;
end:
  do
  :: request ->
     if :: BREAK != 4 -> request = false :: else fi;
     InitOrvikData();
     if :: BREAK == 4 -> request = false :: else fi
  od
}

active proctype Caller() {
  byte begin;
  InitOrvikData()
}

active proctype Reader() {
  byte used, turns;
end:
  do
  :: screen != 0 && turns < 2 -> used = screen; assert(IS_WHOLE); assert(IS_WHOLE); turns++
  od
}

active proctype Rest() {  // nobody can take a step any more
  timeout -> assert(served == asked)
}
