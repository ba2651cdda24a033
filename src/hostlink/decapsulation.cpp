#include "src/hostlink/decapsulation.h"

#include <algorithm>
#include <chrono>
#include <span>

#include "src/core/console.h"
#include "src/core/queues.h"
#include "src/core/worker.h"
#include "src/services/dbshm.h"

namespace {

constexpr worker_t DECAPSULATION = {.slot = THREAD_DECAPSULATE,
                                    .name = "Decapsulate",
                                    .readyLine = "Orvik: Decapsulator initialization complete",
                                    .exitLine = "Orvik: Decapsulator thread EXIT",
                                    .pace = std::chrono::milliseconds{10},
                                    .pauseBeforeStep = true,
                                    .heartbeatEvent = "orvik.DecapsulateHeartbeatEvent",
                                    .heartbeat = &orvikData_t::decapHeartbeatEvent};

class DecapsulationTask : public WorkerTask {
 public:
  explicit DecapsulationTask(orvikData_t* data) : data_(data) { DBSHM::Open(); }
  bool Step() override {
    DecapsulateQueuedFrames(data_, decapsulator_);
    return true;
  }

 private:
  orvikData_t* data_;
  Decapsulator decapsulator_;
};

std::string HexBytes(std::span<const unsigned char> bytes) {
  std::string line;
  for (const unsigned char byte : bytes) line += "0x" + HexText(byte, 2) + " ";
  return line;
}

}  // namespace

bool Decapsulator::DecodeFrame(const CAN_packet_t2& packet) {
  return decapState_ == WAITING ? DecodeFirstFrame(packet) : DecodeLaterFrame(packet);
}

bool Decapsulator::DecodeFirstFrame(const CAN_packet_t2& packet) {
  packetNumber_ = packet.data[0];
  numPacketsReceived_ = 0;
  if (packetNumber_ != 0 || packet.data[1] == 0) return false;

  numPacketsExpected_ = packet.data[1];
  numPacketsReceived_ = 1;
  writePosition_ = 0;
  if (!FitsBlock()) {
    PrintErr("Orvik: ERROR!  Message of " + std::to_string(numPacketsExpected_) +
             " frames exceeds maximum of " + std::to_string(MAX_MESSAGE_FRAMES));
  }
  Append(packet, FRAME_SIZE - FIRST_FRAME_ROOM);
  if (numPacketsExpected_ < 2) return true;
  decapState_ = COLLECTING;
  nextSequenceNumberExpected_ = 1;
  return false;
}

bool Decapsulator::DecodeLaterFrame(const CAN_packet_t2& packet) {
  packetNumber_ = packet.data[0];
  if (packetNumber_ != nextSequenceNumberExpected_) {
    decapState_ = WAITING;
    return false;
  }
  Append(packet, FRAME_SIZE - LATER_FRAME_ROOM);
  ++numPacketsReceived_;
  if (numPacketsReceived_ < numPacketsExpected_) {
    ++nextSequenceNumberExpected_;
    return false;
  }
  decapState_ = WAITING;
  return FitsBlock();
}

void Decapsulator::Append(const CAN_packet_t2& packet, std::size_t from) {
  if (!FitsBlock()) return;
  std::copy(packet.data.begin() + static_cast<std::ptrdiff_t>(from), packet.data.end(),
            message_.bytes.begin() + static_cast<std::ptrdiff_t>(writePosition_));
  writePosition_ += FRAME_SIZE - from;
}

int Init_Decapsulate(orvikData_t* data) {
  return StartWorker(DECAPSULATION, DecapsulateThreadFn, data);
}

void* DecapsulateThreadFn(void* record) {
  return RunWorker<DecapsulationTask>(DECAPSULATION, record);
}

void DecapsulateQueuedFrames(orvikData_t* data, Decapsulator& decapsulator) {
  getCanPackets(data);
  for (const CAN_packet_t2& packet : data->canWork) {
    if (decapsulator.DecodeFrame(packet)) addDecapData(data, decapsulator.Message());
  }
  data->canWork.clear();
}

void DumpHexData(const unsigned char* bytes, int count) {
  PrintOut(HexBytes({bytes, static_cast<std::size_t>(std::max(count, 0))}));
}

void DumpHexString(const std::string& bytes) {
  std::string line = "DumpHexString(" + std::to_string(bytes.size()) + "): ";
  for (const char c : bytes) line += HexBytes({reinterpret_cast<const unsigned char*>(&c), 1});
  PrintOut(line);
}
