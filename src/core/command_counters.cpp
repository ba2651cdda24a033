#include "src/core/command_counters.h"

#include <string>

#include "src/core/console.h"
#include "src/services/dbshm.h"

std::array<PlainWord<std::uint32_t>, COMMAND_COUNTERS> CommandCounts;

const std::array<std::string_view, COMMAND_COUNTERS> COMMAND_COUNTER_NAMES = {
    "CMD0    - Initialize LCD ( UNUSED) ",
    "CMD1    - Display string on LCD ( deprecated by Cmd5 )",
    "CMD2    - Set LCD and LED segments",
    "CMD3    - Display string on Configuration page",
    "CMD4    - Set Beeper",
    "CMD5    - Display string(s) on LCD display",
    "CMD6    - Get Display Button Status",
    "CMD7_1  - Set Valid Keys",
    "CMD7_2  - Enable/Disable Brightness/Contrast Adjust ( UNUSED )",
    "CMD7_3  - Get File Name",
    "CMD7_4  - Get File Date",
    "CMD7_5  - Get File ID",
    "CMD7_6  - Set maximum parts of line ( UNUSED )",
    "CMD7_7  - Get LCD Status ( UNUSED )",
    "CMD7_8  - Set display mode in units or thousands ( UNUSED )",
    "CMD7_9  - Get LED brightness ( UNUSED )",
    "CMD7_10 - Set beep duration ( UNUSED )",
    "CMD7_11 - Set Units",
    "CMD7_12 - Set Display Type",
    "CMD7_13 - Set Language",
    "CMD7_14 - Set Select mode",
    "CMD7_15 - Set Display Transition",
    "CMD7_16 - Set Erected Icon",
    "CMD7_17 - Set Stowed Icon",
    "CMD7_21 - Get Outrigger Positions",
    "CMD7_UNRECOGNIZED",
    "CMD8    - Set Command Protocol Version",
    "CMD9    - Set Dynamic Encryption Method",
    "CMD_UNRECOGNIZED",
    "TOTAL CMDS",
    "TOTAL PKTS",
};

void IncrementCommandCounter(orvikData_t* data, unsigned char index) {
  if (index >= COMMAND_COUNTERS) return;
  const std::uint32_t count = CommandCounts[index] + 1;
  CommandCounts[index] = count;
  if (index == COUNT_TOTAL_CMDS) DBSHM::Write(data->variables.totalHX7Commands, static_cast<double>(count));
}

void DumpCommandCounter(unsigned char index) {
  if (index >= COMMAND_COUNTERS) return;
  PrintOut(std::string(COMMAND_COUNTER_NAMES[index]) + " : " + std::to_string(CommandCounts[index].Load()));
}

void DumpCommandCounterAll() {
  for (unsigned char index = 0; index < COMMAND_COUNTERS; ++index) DumpCommandCounter(index);
}
