// The host's frames on their way to the parser: two bounded queues between three threads, and losses.
//
// Code:
//   src/hostlink/can_transport.cpp: HandleHostFrame
//   src/core/queues.cpp: Append, Drain, CountDrop, addCanPacket, getCanPackets, addDecapData, getDecapData
//   src/hostlink/decapsulation.cpp: DecapsulateQueuedFrames, DecodeFrame, DecodeFirstFrame, DecodeLaterFrame
//   src/parse/parse_thread.cpp: ParseQueuedMessages
// What holds:
//   Each frame is decoded, dropped and counted, or lost before the queue. Each complete message is parsed, or
//   dropped and counted; none is parsed twice or before an older one. A complete message has all its frames and
//   no others, unless as many frames as a message has were lost in one run: a frame has no other mark than its
//   number in its message, so that the end of one message then fits the beginning of another.
// Bounds:
//   Three messages of three frames: first, middle and last. Queues of two frames and one message, so that both
//   overflow, also within a message; the code's queues take 65,536 and 16,384. Any frame may also be lost on
//   the bus or in a full queue of the notification manager. A turn begins when there is work: an empty turn
//   changes nothing.
// Broken:
//   1 decoded + dropped + lost == sent: a queue is copied in one locked step and emptied in another
//   2 whole || gap >= FRAMES: the number of a later frame is not compared
//   3 whole || gap >= FRAMES: a frame out of sequence is skipped, and the message in progress goes on
//   4 decoded + dropped + lost == sent: a frame that finds no room is not counted
//   5 parsed + droppedMessages == complete: a message that finds no room is not counted
#ifndef BREAK
#define BREAK 0
#endif
#define MESSAGES 3
#define FRAMES 3
#define NUMBER(frame) ((frame) % FRAMES)
#define MESSAGE(frame) ((frame) / FRAMES)

chan frames = [2] of { byte };    // canPackets: frames are numbered from 0 on
chan work = [2] of { byte };      // canWork
chan messages = [1] of { byte };  // decapData: a message is the number of its last frame
byte sent, lost, dropped, decoded, complete, droppedMessages, parsed;

active proctype Receiver() {
  do
  :: sent < MESSAGES * FRAMES ->
     atomic {
       if
       :: lost++
       :: len(frames) < 2 -> frames!sent  // addCanPacket
       :: len(frames) == 2 -> if :: BREAK != 4 -> dropped++ :: else fi
       fi;
       sent++
     }
  :: sent == MESSAGES * FRAMES -> break
  od
}

inline DecodeFrame() {
  if :: collects && frame - last - 1 > gap -> gap = frame - last - 1 :: else fi;  // the frames that are missing
  if
  :: !collects && NUMBER(frame) == 0 -> collects = true; next = 1; whole = true; gap = 0; owner = MESSAGE(frame)
  :: !collects && NUMBER(frame) != 0
  :: collects && NUMBER(frame) != next && BREAK != 2 -> collects = (BREAK == 3)
  :: collects && (NUMBER(frame) == next || BREAK == 2) ->
     next++;
     whole = whole && owner == MESSAGE(frame);
     if
     :: next == FRAMES ->
        collects = false;
        assert(whole || gap >= FRAMES);
        complete++;
        if  // addDecapData
        :: len(messages) == 0 -> messages!frame
        :: else -> droppedMessages = droppedMessages + (BREAK != 5)
        fi
     :: else
     fi
  fi;
  last = frame
}

active proctype Decapsulator() {
  byte frame, last, next, gap, owner, turns;
  bool collects, whole;
end:
  do
  :: atomic {  // getCanPackets
       len(frames) > 0 ->
       turns = len(frames);
       do
       :: turns > 0 -> turns--; frames?frame; work!frame; if :: BREAK == 1 -> frames!frame :: else fi
       :: else -> break
       od
     }
     if :: BREAK == 1 -> atomic { do :: frames?_ :: empty(frames) -> break od } :: else fi;
     do
     :: atomic { work?frame -> decoded++; DecodeFrame() }
     :: empty(work) -> break
     od
  od
}

active proctype Parser() {
  byte message, newest;
end:
  do
  :: atomic {
       messages?message ->
       assert(message > newest);
       newest = message; parsed++
     }
  od
}

active proctype Rest() {  // nobody can take a step any more
  timeout ->
    assert(decoded + dropped + lost == sent);
    assert(parsed + droppedMessages == complete)
}
