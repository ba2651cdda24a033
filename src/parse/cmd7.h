// Command 7, the extended command: settings by sub-command.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// Counts and runs one sub-command. Byte 0 of the payload is its number; ProcessSubCmd7_1 to ProcessSubCmd7_19
// (cmd7.cpp) take the bytes after it. An unknown number is counted and reported on standard error. Parse
// thread.
void ProcessCmd7(orvikData_t* data, const MessageView& payload);
