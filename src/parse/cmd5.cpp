#include "src/parse/cmd5.h"

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/sharing.h"
#include "src/text/expand.h"
#include "src/text/fields.h"
#include "src/text/grid.h"
#include "src/text/system_text.h"
#include "src/text/utf8_text.h"

namespace {

constexpr int BYTES_PER_CELL = 5;  // the most that the host may send for one cell
constexpr int SHORTEST_MAIN = 5;
constexpr int SHORTEST_SUB = 3;

void ReportLength(const char* what, int min, int max, const char* label, unsigned length) {
  PrintErr(std::string("***** ERROR!  ") + what + ".  min=" + std::to_string(min) +
           ", max=" + std::to_string(max) + label + std::to_string(length));
}

// `label` names the length in the report: ", subLen=" when a command is processed, ", mainLen=" when it is
// dumped. The first is wrong for a main command, and part of the console interface.
bool HasGoodMainLength(const orvikData_t* data, const MainCmd_t& command, const char* label) {
  const int length = static_cast<int>(command.MainLen());
  const int max = data->lcdSize * BYTES_PER_CELL + 2;
  if (length == 0) {
    PrintOut("WARNING, IGNORING CMD5 NULL LENGTH");
    return false;
  }
  if (length < SHORTEST_MAIN || length > max) {
    ReportLength("Cmd5 length", SHORTEST_MAIN, max, label, command.MainLen());
    return false;
  }
  return true;
}

bool HasGoodSubLength(const orvikData_t* data, const SubCmd_t& command) {
  const int length = static_cast<int>(command.SubLen());
  const int max = data->lcdSize * BYTES_PER_CELL;
  if (length >= SHORTEST_SUB && length <= max && command.IsWhole()) return true;
  ReportLength("Cmd5 sub command length", SHORTEST_SUB, max, ", subLen=", command.SubLen());
  return false;
}

// Calls `handle` for each sub-command until the offset reaches mainLen or a call returns 0.
void WalkSubCommands(orvikData_t* data, const MainCmd_t& command, int (*handle)(orvikData_t*, SubCmd_t*)) {
  std::size_t offset = 0;
  while (offset < command.MainLen()) {
    SubCmd_t sub = command.SubCommandAt(offset);
    if (handle(data, &sub) == 0) {
      PrintErr("Error!  ProcessSubCommand returned failure");
      return;
    }
    offset += sub.SubLen() + SubCmd_t::LENGTH_SIZE;
  }
}

}  // namespace

void ProcessCmd5(orvikData_t* data, MainCmd_t* command) {
  IncrementCommandCounter(data, COUNT_CMD5);
  if (!HasGoodMainLength(data, *command, ", subLen=")) return;

  const MutexGuard guard(data->displayMutex);
  ClearAllFields();
  ClearUTF8Display(data, data->blankChar);
  WalkSubCommands(data, *command, ProcessSubCommand);
  FieldsToUTF8Lines(data);
  HostTextArrived(data);
}

int ProcessSubCommand(orvikData_t* data, SubCmd_t* command) {
  if (!HasGoodSubLength(data, *command)) return 0;
  std::string text = command->Text();
  FixUTF8String(text);
  thread_local std::vector<unsigned> codepoints;  // keeps its storage from text to text
  codepoints.clear();
  ExpandSubCommand(data, text, codepoints);
  UpdateField(data, command->FieldId(), codepoints);
  return 1;
}

void DumpMainCmd(orvikData_t* data, MainCmd_t* command) {
  if (!HasGoodMainLength(data, *command, ", mainLen=")) return;
  PrintOut("DumpMainCmd: mainLen=" + std::to_string(command->MainLen()));
  WalkSubCommands(data, *command, DumpSubCmd);
}

int DumpSubCmd(orvikData_t* data, SubCmd_t* command) {
  if (!HasGoodSubLength(data, *command)) return 0;
  std::string line = "DumpSubCmd: subLen=" + std::to_string(command->SubLen()) +
                     ", fid=" + std::to_string(command->FieldId()) + ", text=";
  for (const char c : command->Text()) line += "0x" + HexText(static_cast<unsigned char>(c), 2) + " ";
  PrintOut(line);
  return 1;
}
