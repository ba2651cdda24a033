// The queues of CAN frames and host messages between the threads, and the queue of key codes for the host.
#pragma once

#include "src/core/orvik_data.h"

// An add function appends one element under the queue's mutex. A get function moves the whole queue to the end
// of the consumer's work array in one locked step. A full queue drops and counts new elements; the first and
// then every thousandth drop is reported on standard error.
constexpr std::size_t MAX_QUEUED_FRAMES = 65'536;
constexpr std::size_t MAX_QUEUED_MESSAGES = 16'384;
void addCanPacket(orvikData_t* data, const CAN_packet_t2& packet);
void getCanPackets(orvikData_t* data);
void addDecapData(orvikData_t* data, const DecapData_t& message);
void getDecapData(orvikData_t* data);

// Appends a key code for the host and stores it in lastKey, without a lock. A full queue drops the key; lastKey
// then keeps its value.
void addKeyData(orvikData_t* data, unsigned char key);
// Removes and returns the oldest key code; 0 when there is none.
std::uint32_t getKeyData(orvikData_t* data);
