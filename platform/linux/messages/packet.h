// The records between the two ends of a connection: a header, then the bytes of the message.
//
// Both ends run on one machine and the fields have fixed widths, so the headers are sent as they are in memory.
// A body of more than INLINE_SIZE bytes is sent as a sealed memory file whose descriptor is attached to the
// record.
#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/types.h>

namespace platform {

constexpr std::size_t MAX_MESSAGE_SIZE = (1U << 20U) + (1U << 10U);
constexpr std::size_t INLINE_SIZE = 64U << 10U;

enum class packet_kind_t : std::uint32_t {
  HELLO = 1,  // first record of the socket that represents a whole connection
  MESSAGE = 2,
  PULSE = 3,
};

// Sender to receiver.
struct request_header_t {
  packet_kind_t kind;
  std::uint32_t sequence;  // copied to the reply
  std::int32_t coid;
  std::int32_t tid;
  std::uint32_t bytes;  // of the message
  std::uint32_t room;   // for the reply
  std::int32_t code;    // of a pulse; else the sender's priority
  std::int32_t value;   // of a pulse
};
static_assert(sizeof(request_header_t) == 32);

// Receiver to sender.
struct reply_header_t {
  std::int64_t status;
  std::uint32_t sequence;
  std::int32_t error;  // 0, or the sender's errno
  std::uint32_t bytes;
  std::uint32_t reserved;
};
static_assert(sizeof(reply_header_t) == 24);

// Sends one record. 0, or -1 with errno. `flags` as for sendmsg.
int SendRecord(int socket, const void* header, std::size_t headerSize, const void* body, std::size_t bytes,
               int flags);

// The result of ReceiveRecord.
struct received_t {
  // Length of the record without an attached memory file; 0 at the end of the connection; -1 with errno.
  ssize_t length = -1;
  std::size_t copied = 0;  // bytes of the body that are in the caller's buffer
};
// Receives one record: the header and at most `room` bytes of the body; the rest of the body is dropped. A
// record shorter than the header counts as the end of the connection. `flags` as for recvmsg.
received_t ReceiveRecord(int socket, void* header, std::size_t headerSize, void* body, std::size_t room,
                         int flags);

}  // namespace platform
