// Command 5: the texts of the fields.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// Replaces the text of all fields and rebuilds the grid. Holds displayMutex throughout, so that the dispatcher
// draws either the old grid or the new one. A malformed sub-command ends the message; the fields of the earlier
// sub-commands stay. Parse thread.
void ProcessCmd5(orvikData_t* data, MainCmd_t* command);
// Stores one text in its field and returns 1. Reports a length below 3, above 5 bytes a cell or beyond the
// message block and returns 0. The caller holds displayMutex.
int ProcessSubCommand(orvikData_t* data, SubCmd_t* command);
// Print a command on standard output, with the length checks and messages of ProcessCmd5 and ProcessSubCommand.
void DumpMainCmd(orvikData_t* data, MainCmd_t* command);
int DumpSubCmd(orvikData_t* data, SubCmd_t* command);
