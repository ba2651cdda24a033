// The hand-over queues between the threads, and the queue of key codes for the host.
#pragma once

#include "src/core/orvik_data.h"

// The takers move the whole backlog into the consumer's work array in one locked step.
// A queue holds at most MAX_QUEUED elements: further ones are dropped and counted, with one line on standard
// error a thousand, until the consumer has caught up.
constexpr std::size_t MAX_QUEUED_FRAMES = 65'536;
constexpr std::size_t MAX_QUEUED_MESSAGES = 16'384;
void addCanPacket(orvikData_t* data, const CAN_packet_t2& packet);
void getCanPackets(orvikData_t* data);
void addDecapData(orvikData_t* data, const DecapData_t& message);
void getDecapData(orvikData_t* data);

// Key codes for the host; no lock. A full queue drops the new key and leaves lastKey as it was.
void addKeyData(orvikData_t* data, unsigned char key);
// The oldest key code, removed; 0 when there is none.
std::uint32_t getKeyData(orvikData_t* data);
