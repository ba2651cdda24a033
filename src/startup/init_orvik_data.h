// The initialisation of the record.
#pragma once

#include "src/core/orvik_data.h"

// Looks the handles up, reads the versions, sets every default and shows the start-up text. main calls it after
// starting the workers; the dispatcher (ServeInitRequest) and callers of InitLCD call it again. Calls from
// several threads run one after another.
void InitOrvikData(orvikData_t* data);
