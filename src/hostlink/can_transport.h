// The display's end of the CAN bus: the receive thread, and the one function that sends.
//
// The J1939 service owns the bus; frames come and go as its messages (j1939_external.h).
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "src/core/orvik_data.h"

// The channel on which the service delivers what the filters let through.
constexpr const char* orvikRxChName = "OrvikReceiveChannel";
constexpr unsigned CAN_PORT = 1;
// The filters compare the PGN and the source address, not the three priority bits.
constexpr std::uint32_t RX_FILTER_MASK = 0x00FFFFFF;
extern const std::array<std::uint32_t, 14> hx7RxFilters;

// Set where key commands have swapped the transducers; nothing in this program reads it.
extern PlainWord<int> canTransducersSwapped;

// Starts the receive thread, "Receive CAN". Returns 0, or the error number of the failed start.
int Init_CAN(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. Ends at canExit; a receive that blocks is ended by
// canNmClient->wakeReceiver().
void* ReceiveCANThreadFn(void* record);
// Handles one message of the service: a host frame is answered at once where it
// asks for something that needs no parsing, else queued. Anything else, a message too short for a frame
// included, is ignored. Receive thread.
void HandleServiceMessage(orvikData_t* data, std::span<const std::uint8_t> message);

// Sends eight bytes as one raw frame; the service's answer is not waited for. Any thread: each call has a
// buffer of its own, and the client, made at the first call and kept to the end of the process, guards itself.
// Blocks for one round trip to the notification manager.
void TransmitCAN(orvikData_t* data, unsigned identifier, unsigned port, const std::uint8_t* bytes);

// Installs the receive filters, through the receive thread's client; does nothing before that thread has one.
// Receive thread at its start, action channel when the ignition comes on.
void InitCANFilters(orvikData_t* data);

void InitCANTransducers();  // not swapped
void SwapCANTransducers();

// Prints a frame in one line on standard output, numbers in hexadecimal.
void DumpCANPacket(const CAN_packet_t2* packet);
