// Joins the host's frames into messages, on a thread of its own between the receive and the parse thread.
#pragma once

#include <cstdint>
#include <string>

#include "src/core/orvik_data.h"

// The decoder of one stream of frames (frame_layout.h). Not thread-safe.
class Decapsulator {
 public:
  // Takes one frame. True when it completed a message, which Message() then holds. A frame out of sequence ends
  // the message that is being joined, and is itself dropped, even if it could begin a new one. A message of
  // more than MAX_MESSAGE_FRAMES is reported on standard error and dropped; its frames are still consumed.
  bool DecodeFrame(const CAN_packet_t2& packet);

  // Not cleared between messages: behind a message stands what an earlier, longer one left.
  const DecapData_t& Message() const { return message_; }
  bool IsCollecting() const { return decapState_ == COLLECTING; }

 private:
  enum state_t { WAITING = 0, COLLECTING = 1 };

  bool DecodeFirstFrame(const CAN_packet_t2& packet);
  bool DecodeLaterFrame(const CAN_packet_t2& packet);
  bool FitsBlock() const { return numPacketsExpected_ <= MAX_MESSAGE_FRAMES; }
  void Append(const CAN_packet_t2& packet, std::size_t from);

  state_t decapState_ = WAITING;
  unsigned packetNumber_ = 0;
  unsigned numPacketsExpected_ = 0;
  unsigned numPacketsReceived_ = 0;
  unsigned nextSequenceNumberExpected_ = 0;
  DecapData_t message_{};
  std::size_t writePosition_ = 0;
};

// Looks the heartbeat event up and starts the thread. Returns 0, or the error number of the failed start.
int Init_Decapsulate(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. Every 10 ms: a heartbeat event, then all frames that wait.
void* DecapsulateThreadFn(void* record);
// Decodes all frames that wait, oldest first, and queues the messages that they complete.
void DecapsulateQueuedFrames(orvikData_t* data, Decapsulator& decapsulator);

// Dumps on standard output: each byte as "0x" and two hexadecimal digits.
void DumpHexData(const unsigned char* bytes, int count);
void DumpHexString(const std::string& bytes);
