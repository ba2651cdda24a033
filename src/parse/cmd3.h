// Command 3: the flash message of the configuration page.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// Stores the flash message, centred in 29 cells (21 in the full-width language). A longer text is kept whole
// and starts at the first cell. Reports a length that the protocol does not allow and then changes nothing.
// Locks displayMutex. Parse thread.
void ProcessCmd3(orvikData_t* data, SubCmd_t* command);
