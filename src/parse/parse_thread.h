// The parse thread: takes the host's messages from the queue and hands each to its command.
#pragma once

#include "src/core/orvik_data.h"

// Looks the heartbeat event up and starts the thread. Returns 0, or the error number of the failed start.
int Init_Parse(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. Every 10 ms: a heartbeat event, then all messages that wait.
void* ParseThreadFn(void* record);
// Handles all messages that wait, oldest first. Any of them counts as a sign of life of the host.
void ParseQueuedMessages(orvikData_t* data);
// Handles one message by its command number, byte 0, and counts it in any case. What is malformed is reported
// on the console and dropped; the host gets no answer.
void ParseMessage(orvikData_t* data, const DecapData_t& message);
