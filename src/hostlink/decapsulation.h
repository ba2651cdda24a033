// The decapsulation thread: joins the frames that the receive thread queues into messages for the parse thread.
#pragma once

#include <cstdint>
#include <string>

#include "src/core/orvik_data.h"

// The decoder of one stream of frames (frame_layout.h). Not thread-safe.
class Decapsulator {
 public:
  // Decodes one frame. Returns true when it completes a message, which Message() then holds. A frame out of
  // sequence drops the message in progress, and is dropped itself even if it is a first frame. A message of
  // more than MAX_MESSAGE_FRAMES is reported on standard error and dropped; its frames are still consumed.
  bool DecodeFrame(const CAN_packet_t2& packet);

  // Not cleared between messages: the bytes after a message are those of an earlier, longer one.
  const DecapData_t& Message() const { return message_; }
  bool IsCollecting() const { return decapState_ == COLLECTING; }

 private:
  enum decap_state_t { WAITING = 0, COLLECTING = 1 };

  bool DecodeFirstFrame(const CAN_packet_t2& packet);
  bool DecodeLaterFrame(const CAN_packet_t2& packet);
  bool FitsBlock() const { return numPacketsExpected_ <= MAX_MESSAGE_FRAMES; }
  void Append(const CAN_packet_t2& packet, std::size_t from);

  decap_state_t decapState_ = WAITING;
  unsigned packetNumber_ = 0;
  unsigned numPacketsExpected_ = 0;
  unsigned numPacketsReceived_ = 0;
  unsigned nextSequenceNumberExpected_ = 0;
  DecapData_t message_{};
  std::size_t writePosition_ = 0;
};

// Looks the heartbeat event up and starts the thread "Decapsulate". Returns 0, or the error number of the
// failed start.
int Init_Decapsulate(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. Every 10 ms it posts the heartbeat event and decodes all
// queued frames.
void* DecapsulateThreadFn(void* record);
// Decodes all queued frames, oldest first, and queues the messages that they complete.
void DecapsulateQueuedFrames(orvikData_t* data, Decapsulator& decapsulator);

// Print bytes on standard output, each as "0x" and two hexadecimal digits.
void DumpHexData(const unsigned char* bytes, int count);
void DumpHexString(const std::string& bytes);
