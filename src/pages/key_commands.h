// The local commands that a key binding may carry: CMD_NAMES is their table of names.
#pragma once

#include "src/core/orvik_data.h"

// Runs a command on the calling key thread. A number without a command is reported on standard error.
void RunKeyCommand(orvikData_t* data, unsigned command);
