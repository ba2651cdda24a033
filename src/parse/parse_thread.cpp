#include "src/parse/parse_thread.h"

#include <array>
#include <chrono>

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/operating_values.h"
#include "src/core/queues.h"
#include "src/core/worker.h"
#include "src/devio/digital_io.h"
#include "src/parse/cmd2.h"
#include "src/parse/cmd3.h"
#include "src/parse/cmd5.h"
#include "src/parse/cmd7.h"
#include "src/parse/message_view.h"
#include "src/services/dbshm.h"

namespace {

constexpr worker_t PARSER = {.slot = THREAD_PARSE,
                             .name = "Parse",
                             .readyLine = "Orvik: Parser initialization complete",
                             .exitLine = "Orvik: Parser thread EXIT",
                             .pace = std::chrono::milliseconds{10},
                             .pauseBeforeStep = true,
                             .heartbeatEvent = "orvik.ParseHeartbeatEvent",
                             .heartbeat = &orvikData_t::parseHeartbeatEvent};

class ParseTask : public FunctionTask<ParseQueuedMessages> {
 public:
  explicit ParseTask(orvikData_t* data) : FunctionTask(data) { DBSHM::Open(); }
};

// The commands that carry values and text count themselves.
constexpr unsigned char COUNTS_ITSELF = 0xFF;

void InitializeLCD(orvikData_t* /*data*/, const MessageView& /*payload*/) {
  PrintErr("Orvik: ***** ERROR!  Unexpected Initialize LCD command ( Cmd0 ) *****");
}

void Ignore(orvikData_t* /*data*/, const MessageView& /*payload*/) {}

void FlashMessage(orvikData_t* data, const MessageView& payload) {
  SubCmd_t command{payload};
  ProcessCmd3(data, &command);
}

void SetBeeperFromHost(orvikData_t* data, const MessageView& payload) {
  SetBeeperDuration(data, payload.Byte(0));
}

void DisplayStrings(orvikData_t* data, const MessageView& payload) {
  MainCmd_t command{payload};
  ProcessCmd5(data, &command);
}

void KeyStatusRequest(orvikData_t* /*data*/, const MessageView& /*payload*/) {
  PrintErr("***** ERROR!  Return key status request in parse thread!");
}

void ProtocolVersion(orvikData_t* data, const MessageView& payload) {
  SetCommandProtocolVersion(data, payload.Byte(0));
  PrintOut("SetCommandProtocolVersion " + std::to_string(payload.Byte(0)));
}

void EncryptionMethod(orvikData_t* data, const MessageView& payload) {
  SetDynamicEncryptionMethod(data, payload.Byte(0));
  PrintOut("SetDynamicEncryptionMethod " + std::to_string(payload.Byte(0)));
}

struct command_t {
  unsigned char counter;
  void (*process)(orvikData_t* data, const MessageView& payload);
};

// By command number. CMD9 advances CMD8's counter on purpose; its own stays 0.
constexpr std::array<command_t, 10> COMMANDS = {{
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
  const command_t& command = COMMANDS[number];
  if (command.counter != COUNTS_ITSELF) IncrementCommandCounter(data, command.counter);
  command.process(data, MessageView(message.bytes).From(1));
}

void ParseQueuedMessages(orvikData_t* data) {
  getDecapData(data);
  if (data->decapWork.empty()) return;
  data->watchdogSeconds = 0;
  for (const DecapData_t& message : data->decapWork) ParseMessage(data, message);
  data->decapWork.clear();
}

int Init_Parse(orvikData_t* data) {
  return StartWorker(PARSER, ParseThreadFn, data);
}

void* ParseThreadFn(void* record) {
  return RunWorker<ParseTask>(PARSER, record);
}
