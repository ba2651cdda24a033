// The parse thread: takes the host's messages from the message queue and calls the handler of each command.
#pragma once

#include "src/core/orvik_data.h"

// Looks the heartbeat event up and starts the thread "Parse". Returns 0, or the error number of the failed
// start.
int Init_Parse(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. Every 10 ms it posts the heartbeat event and handles all
// queued messages.
void* ParseThreadFn(void* record);
// Handles all queued messages, oldest first, and restarts the watchdog's count when there is one. Parse thread.
void ParseQueuedMessages(orvikData_t* data);
// Counts one message and calls the handler of its command number (byte 0). A malformed message is reported on
// the console and dropped; the host gets no answer. Parse thread.
void ParseMessage(orvikData_t* data, const DecapData_t& message);
