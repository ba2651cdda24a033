// The layout of every exchange with the notification manager.
//
// A message is a header of four signed 32-bit little-endian words and up to 10,224 bytes of payload. Requests
// are sent with MsgSend to the name "NotifyMgr"; the reply has the same layout.
//
// | word | field    | request                               | reply                                         |
// |------|----------|---------------------------------------|-----------------------------------------------|
// | 0    | type     | NM_CONNECT ... NM_FETCH               | the same                                      |
// | 1    | channel  | event channel, -1 where none applies  | register: its number; fetch: where from, or -1 |
// | 2    | length   | payload bytes; fetch: room for them   | result or payload bytes; negative: refused    |
// | 3    | clientId | -1 in the connect request             | connect: the identity given                   |
//
// Connect carries the process id and the id of the client's own channel (two 32-bit words); the manager sends a
// pulse there for each message that waits. Register carries the name with its terminating zero. Send carries
// the event; its result is the number of messages that the fullest subscriber still has room for, 0 once
// messages are being lost. A fetch with nothing waiting gives channel -1 and length 0.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr const char* NM_SERVER_NAME = "NotifyMgr";

constexpr std::size_t NM_HEADER_SIZE = 16;
constexpr std::size_t NM_MESSAGE_SIZE = 10240;
constexpr std::size_t NM_PAYLOAD_SIZE = NM_MESSAGE_SIZE - NM_HEADER_SIZE;

// Offsets of the header's words.
constexpr std::size_t NM_TYPE_AT = 0;
constexpr std::size_t NM_CHANNEL_AT = 4;
constexpr std::size_t NM_LENGTH_AT = 8;
constexpr std::size_t NM_CLIENT_AT = 12;

enum nm_type_t : std::int32_t { NM_CONNECT = 0, NM_REGISTER = 1, NM_SUBSCRIBE = 2, NM_SEND = 3, NM_FETCH = 4 };

// Offsets of the connect request's payload.
constexpr std::size_t NM_CONNECT_PID_AT = NM_HEADER_SIZE;
constexpr std::size_t NM_CONNECT_CHID_AT = NM_HEADER_SIZE + 4;
constexpr std::size_t NM_CONNECT_SIZE = NM_HEADER_SIZE + 8;
