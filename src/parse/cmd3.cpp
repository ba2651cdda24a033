#include "src/parse/cmd3.h"

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/sharing.h"
#include "src/text/expand.h"
#include "src/text/utf8_text.h"

namespace {

constexpr unsigned SHORTEST_FLASH = 3;
constexpr std::size_t FLASH_CELLS = 29;
constexpr std::size_t FLASH_CELLS_FULL_WIDTH = 21;

std::string FlashDetails(const SubCmd_t& command) {
  return ", len=" + std::to_string(command.SubLen()) + ", index=" + std::to_string(command.Index()) +
         ", first=0x" + HexText(command.FirstOctet());
}

// Reports a bad length. The underrun goes to standard output and the overrun to standard error: both streams
// are part of the console interface.
bool HasGoodLength(const orvikData_t* data, const SubCmd_t& command) {
  const unsigned length = command.SubLen();
  if (length == 0) {
    PrintOut("WARNING, Flash message NULL length.");
    return false;
  }
  if (length < SHORTEST_FLASH) {
    PrintOut("Orvik: ERROR! Flash message underrun" + FlashDetails(command));
    return false;
  }
  if (static_cast<int>(length) > data->lcdSize * 5 || !command.IsWhole()) {
    PrintErr("Orvik: ERROR! Flash message overrun" + FlashDetails(command));
    return false;
  }
  return true;
}

void CenterFlashLine(orvikData_t* data, const std::vector<unsigned>& codepoints) {
  const std::size_t width = data->expandFullWidth == 1 ? FLASH_CELLS_FULL_WIDTH : FLASH_CELLS;
  const std::size_t blanks = codepoints.size() < width ? (width - codepoints.size()) / 2 : 0;
  data->flashLine.assign(blanks, data->blankChar);
  data->flashLine.insert(data->flashLine.end(), codepoints.begin(), codepoints.end());
}

}  // namespace

void ProcessCmd3(orvikData_t* data, SubCmd_t* command) {
  IncrementCommandCounter(data, COUNT_CMD3);
  if (!HasGoodLength(data, *command)) return;

  std::string text = command->Text();
  FixUTF8String(text);
  std::vector<unsigned> codepoints;
  ExpandSubCommand(data, text, codepoints);

  const MutexGuard guard(data->displayMutex);
  CenterFlashLine(data, codepoints);
}
