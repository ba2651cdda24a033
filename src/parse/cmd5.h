// CMD5: the texts of the fields. Parse thread.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/cmd2.h"
#include "src/parse/cmd3.h"
#include "src/parse/cmd7.h"
#include "src/parse/message_view.h"

// CMD5: replaces the text of all fields and rebuilds the grid, in one step as the dispatcher sees it (takes
// displayMutex). A sub-command that is malformed ends the message; the fields before it stay.
void ProcessCmd5(orvikData_t* data, MainCmd_t* command);
// One text of CMD5: 1, or 0 for a length outside 3 to 5 bytes a cell or beyond the block. Expects displayMutex
// held.
int ProcessSubCommand(orvikData_t* data, SubCmd_t* command);
// Print the commands on standard output, with the checks and messages of the functions above.
void DumpMainCmd(orvikData_t* data, MainCmd_t* command);
int DumpSubCmd(orvikData_t* data, SubCmd_t* command);
