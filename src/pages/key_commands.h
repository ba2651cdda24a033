// The local commands of key bindings; a command's number is its index into CMD_NAMES.
#pragma once

#include "src/core/orvik_data.h"

// Runs a command. A number without an action is reported on standard error. Key threads, two at a time if need
// be.
void RunKeyCommand(orvikData_t* data, unsigned command);
