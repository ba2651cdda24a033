// CMD3: the flash message. Parse thread.
#pragma once

#include "src/core/orvik_data.h"
#include "src/parse/message_view.h"

// CMD3: the configuration page's flash message, centred in 29 cells, 21 in a full-width language. A longer text
// is kept whole, from the first cell on.
void ProcessCmd3(orvikData_t* data, SubCmd_t* command);
