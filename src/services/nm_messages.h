// The layout of the notification manager's messages.
//
// A message is a header of four signed 32-bit little-endian words and up to 10,224 bytes of payload. A client
// sends its requests with MsgSend to the name "NotifyMgr"; the reply has the same layout.
//
// | word | field    | request                               | reply                                          |
// |------|----------|---------------------------------------|------------------------------------------------|
// | 0    | type     | NM_CONNECT ... NM_FETCH               | the same                                       |
// | 1    | channel  | event channel; -1 when not applicable | register: its number; fetch: its channel or -1 |
// | 2    | length   | payload bytes; fetch: room for them   | result or payload bytes; negative: refused     |
// | 3    | clientId | -1 in the connect request             | connect: the assigned identity                 |
//
// The payload of connect is the process id and the id of the client's own channel (two 32-bit words). The
// manager sends a pulse to that channel for each message that it queues for the client. The payload of register
// is the name with its terminating zero, that of send the event. The result of send is the number of messages
// for which the fullest subscriber still has room; 0 means that messages are being lost. A fetch from an empty
// queue returns channel -1 and length 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/byte_order.h"

constexpr const char* NM_SERVER_NAME = "NotifyMgr";

constexpr std::size_t NM_HEADER_SIZE = 16;
constexpr std::size_t NM_MESSAGE_SIZE = 10240;
constexpr std::size_t NM_PAYLOAD_SIZE = NM_MESSAGE_SIZE - NM_HEADER_SIZE;

// Offsets of the header's words.
constexpr std::size_t NM_TYPE_AT = 0;
constexpr std::size_t NM_CHANNEL_AT = 4;
constexpr std::size_t NM_LENGTH_AT = 8;
constexpr std::size_t NM_CLIENT_AT = 12;

constexpr std::int32_t LoadNmWord(std::span<const std::uint8_t> message, std::size_t at) {
  return static_cast<std::int32_t>(platform::LoadLe32(message, at));
}
constexpr void StoreNmWord(std::span<std::uint8_t> message, std::size_t at, std::int32_t value) {
  platform::StoreLe32(message, at, static_cast<std::uint32_t>(value));
}

enum nm_type_t : std::int32_t { NM_CONNECT = 0, NM_REGISTER = 1, NM_SUBSCRIBE = 2, NM_SEND = 3, NM_FETCH = 4 };

// Offsets of the connect request's payload.
constexpr std::size_t NM_CONNECT_PID_AT = NM_HEADER_SIZE;
constexpr std::size_t NM_CONNECT_CHID_AT = NM_HEADER_SIZE + 4;
constexpr std::size_t NM_CONNECT_SIZE = NM_HEADER_SIZE + 8;
