// The action channel: the thread that receives the actions of the screen service (page shown, key state
// changed, ignition switched, exit) and acts on them.
#pragma once

#include <span>

#include "src/core/orvik_data.h"

// Starts the thread "Action Channel". Returns 0, or the error number of the failed start.
int Init_ActionChannel(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. It blocks in recvMsg until an action or wakeReceiver.
void* ActionChannelThreadFn(void* record);

// Acts on one action number. Returns false for "ExitApplication", which ends the thread. An unknown number is
// reported on standard error. Action channel thread.
bool HandleAction(orvikData_t* data, std::uint32_t action);

// Size of an action message: the receiver's channel number and the action number, two unsigned 32-bit
// little-endian words.
constexpr std::size_t ACTION_MESSAGE_SIZE = 8;
