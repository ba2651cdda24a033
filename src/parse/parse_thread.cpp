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

void ReportInitialize(orvikData_t* /*data*/, const MessageView& /*payload*/) {
  PrintErr("Orvik: ***** ERROR!  Unexpected Initialize LCD command ( Cmd0 ) *****");
}

void IgnoreCommand(orvikData_t* /*data*/, const MessageView& /*payload*/) {}

void ShowFlashMessage(orvikData_t* data, const MessageView& payload) {
  SubCmd_t command{payload};
  ProcessCmd3(data, &command);
}

void SetBeeperFromHost(orvikData_t* data, const MessageView& payload) {
  SetBeeperDuration(data, payload.Byte(0));
}

void ShowStrings(orvikData_t* data, const MessageView& payload) {
  MainCmd_t command{payload};
  ProcessCmd5(data, &command);
}

void ReportKeyStatusRequest(orvikData_t* /*data*/, const MessageView& /*payload*/) {
  PrintErr("***** ERROR!  Return key status request in parse thread!");
}

void StoreProtocolVersion(orvikData_t* data, const MessageView& payload) {
  SetCommandProtocolVersion(data, payload.Byte(0));
  PrintOut("SetCommandProtocolVersion " + std::to_string(payload.Byte(0)));
}

void StoreEncryptionMethod(orvikData_t* data, const MessageView& payload) {
  SetDynamicEncryptionMethod(data, payload.Byte(0));
  PrintOut("SetDynamicEncryptionMethod " + std::to_string(payload.Byte(0)));
}

struct main_command_t {
  command_counter_t counter;
  void (*process)(orvikData_t* data, const MessageView& payload);
};

// The index is the command number. CMD2, CMD3 and CMD5 count themselves, because other code may call their
// functions. CMD7 has a counter for each sub-command, and CMD9 advances the counter of CMD8.
constexpr std::array<main_command_t, 10> COMMANDS = {{
    {COUNT_CMD0, ReportInitialize},
    {COUNT_CMD1, IgnoreCommand},
    {COUNT_NONE, ProcessCmd2},
    {COUNT_NONE, ShowFlashMessage},
    {COUNT_CMD4, SetBeeperFromHost},
    {COUNT_NONE, ShowStrings},
    {COUNT_CMD6, ReportKeyStatusRequest},
    {COUNT_NONE, ProcessCmd7},
    {COUNT_CMD8, StoreProtocolVersion},
    {COUNT_CMD8, StoreEncryptionMethod},
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
  const main_command_t& command = COMMANDS[number];
  IncrementCommandCounter(data, command.counter);
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
