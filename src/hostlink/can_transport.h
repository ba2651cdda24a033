// The display's end of the CAN bus: the thread that receives frames, and the function that sends them.
//
// The J1939 service owns the bus and exchanges frames with the application as messages (j1939_external.h).
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "src/core/orvik_data.h"

// The notification channel on which the service delivers the frames that match a filter.
constexpr const char* orvikRxChName = "OrvikReceiveChannel";
constexpr unsigned CAN_PORT = 1;
// The filters compare PGN and source address and ignore the three priority bits.
constexpr std::uint32_t RX_FILTER_MASK = 0x00FFFFFF;
extern const std::array<std::uint32_t, 14> hx7RxFilters;

// Non-zero while the transducers are swapped by key command. Nothing in the application reads it.
extern PlainWord<int> canTransducersSwapped;

// Starts the receive thread, "Receive CAN". Returns 0, or the error number of the failed start.
int Init_CAN(orvikData_t* data);
// The thread's body; `record` is the orvikData_t. It blocks in recvMsg. To stop it, set canExit and call
// canNmClient->wakeReceiver().
void* ReceiveCANThreadFn(void* record);
// Handles one message of the service. A host frame with one of the six immediate requests is answered; any
// other host frame is queued. Frames of other stations and messages too short for a frame are ignored. Receive
// thread.
void HandleServiceMessage(orvikData_t* data, std::span<const std::uint8_t> message);

// Sends eight bytes as one raw frame. Any thread; blocks for one round trip to the notification manager, not
// for the bus. All threads share one client, which the first call creates.
void TransmitCAN(orvikData_t* data, unsigned identifier, unsigned port, const std::uint8_t* bytes);

// Installs the receive filters through the receive thread's client. Does nothing before that thread has created
// its client. Called by the receive thread at its start and by the action channel when the ignition is switched
// on.
void InitCANFilters(orvikData_t* data);

// Set the transducers to not swapped, and swap them.
void InitCANTransducers();
void SwapCANTransducers();

// Prints a frame in one line on standard output; the data length in decimal, everything else in hexadecimal.
void DumpCANPacket(const CAN_packet_t2* packet);
