#include "src/parse/parse_thread.h"

#include <array>
#include <chrono>
#include <thread>

#include "platform/threads.h"

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/operating_values.h"
#include "src/devio/digital_io.h"
#include "src/parse/commands.h"
#include "src/services/dbshm.h"

namespace {

constexpr std::chrono::milliseconds PACE(10);
// The commands that carry values and text count themselves.
constexpr unsigned char COUNTS_ITSELF = 0xFF;

void InitializeLCD(orvikData_t* /*data*/, const MessageView_t& /*payload*/) {
  PrintErr("Orvik: ***** ERROR!  Unexpected Initialize LCD command ( Cmd0 ) *****");
}

void Ignore(orvikData_t* /*data*/, const MessageView_t& /*payload*/) {}

void FlashMessage(orvikData_t* data, const MessageView_t& payload) {
  SubCmd_t command{payload};
  ProcessCmd3(data, &command);
}

void SetBeeperFromHost(orvikData_t* data, const MessageView_t& payload) {
  SetBeeperDuration(data, payload.Byte(0));
}

void DisplayStrings(orvikData_t* data, const MessageView_t& payload) {
  MainCmd_t command{payload};
  ProcessCmd5(data, &command);
}

void KeyStatusRequest(orvikData_t* /*data*/, const MessageView_t& /*payload*/) {
  PrintErr("***** ERROR!  Return key status request in parse thread!");
}

void ProtocolVersion(orvikData_t* data, const MessageView_t& payload) {
  SetCommandProtocolVersion(data, payload.Byte(0));
  PrintOut("SetCommandProtocolVersion " + std::to_string(payload.Byte(0)));
}

void EncryptionMethod(orvikData_t* data, const MessageView_t& payload) {
  SetDynamicEncryptionMethod(data, payload.Byte(0));
  PrintOut("SetDynamicEncryptionMethod " + std::to_string(payload.Byte(0)));
}

struct Command_t {
  unsigned char counter;
  void (*process)(orvikData_t* data, const MessageView_t& payload);
};

// By command number. CMD9 advances CMD8's counter on purpose; its own stays 0.
constexpr std::array<Command_t, 10> COMMANDS = {{
    {0, InitializeLCD},
    {1, Ignore},
    {COUNTS_ITSELF, ProcessCmd2},
    {COUNTS_ITSELF, FlashMessage},
    {4, SetBeeperFromHost},
    {COUNTS_ITSELF, DisplayStrings},
    {6, KeyStatusRequest},
    {COUNTS_ITSELF, ProcessCmd7},
    {COUNT_CMD8, ProtocolVersion},
    {COUNT_CMD8, EncryptionMethod},
}};

}  // namespace

void ParseMessage(orvikData_t* data, const DecapData_t& message) {
  IncrementCommandCounter(data, COUNT_TOTAL_CMDS);
  const unsigned char number = message.bytes[0];
  if (number >= COMMANDS.size()) {
    IncrementCommandCounter(data, COUNT_CMD_UNRECOGNIZED);
    PrintErr("***** ERROR! Unrecognized command ( " + std::to_string(number) + " ) ! *****");
    return;
  }
  const Command_t& command = COMMANDS[number];
  if (command.counter != COUNTS_ITSELF) IncrementCommandCounter(data, command.counter);
  command.process(data, MessageView_t(message.bytes).From(1));
}

void ParseQueuedMessages(orvikData_t* data) {
  getDecapData(data);
  if (data->decapWork.empty()) return;
  data->watchdogSeconds = 0;
  for (const DecapData_t& message : data->decapWork) ParseMessage(data, message);
  data->decapWork.clear();
}

int Init_Parse(orvikData_t* data) {
  data->parseHeartbeatEvent = FindEventId(data, "orvik.ParseHeartbeatEvent");
  return platform::StartDetachedThread({"Parse"}, ParseThreadFn, data);
}

void* ParseThreadFn(void* record) {
  auto* data = static_cast<orvikData_t*>(record);
  DBSHM::Open();
  data->parseReady = 1;
  PrintOut("Orvik: Parser initialization complete");
  WaitForStart(data, data->parseExit);
  while (data->parseExit == 0) {
    PostEventId(data, data->parseHeartbeatEvent);
    std::this_thread::sleep_for(PACE);
    ParseQueuedMessages(data);
  }
  PrintOut("Orvik: Parser thread EXIT");
  data->parseReady = 0;
  return nullptr;
}
