// The thread that acts on what the screen service tells: pages shown, keys, ignition, the end.
#pragma once

#include <span>

#include "src/core/orvik_data.h"

// Starts the thread "Action Channel"; 0 on success, else an error number.
int Init_ActionChannel(orvikData_t* data);
void* ActionChannelThreadFn(void* record);

// Acts on one action number. False when the application is to exit.
bool HandleAction(orvikData_t* data, std::uint32_t action);

// An action's message: the receiver's channel number and the action, two unsigned 32-bit little-endian words.
constexpr std::size_t ACTION_MESSAGE_SIZE = 8;
