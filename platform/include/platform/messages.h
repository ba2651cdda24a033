// Synchronous messages and pulses between processes and threads, under Neutrino's own names.
//
// A channel receives; a connection sends to a channel. MsgSend blocks until the receiver replies; a pulse never
// blocks its sender. Any number of threads may use one connection at the same time; each gets the reply to its
// own message. When the receiver dies, every blocked or later send fails with ESRCH. All calls are thread-safe
// and return -1 with errno on failure: EBADF for an unknown connection. On Linux a signal does not end a wait,
// a signal handler must not call these functions, and a forked child has no channels or connections of its
// parent.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include <sys/types.h>

// Channel flags.
constexpr unsigned _NTO_CHF_FIXED_PRIORITY = 0x0001;
// The receiver gets a pulse, with the receive id as value, when the sender of an unanswered message is gone.
constexpr unsigned _NTO_CHF_UNBLOCK = 0x0002;
// The receiver gets a pulse, with the client's scoid, when a client has closed its connection or died.
constexpr unsigned _NTO_CHF_DISCONNECT = 0x0040;
constexpr unsigned _NTO_SIDE_CHANNEL = 0x40000000;

// Codes of the system's own pulses; a program's codes are 0 to 127.
constexpr int _PULSE_CODE_UNBLOCK = -32;
constexpr int _PULSE_CODE_DISCONNECT = -33;

// MsgReceive writes this when it returns 0.
struct _pulse {
  std::uint16_t type;
  std::uint16_t subtype;
  std::int8_t code;
  std::uint8_t zero[3];
  sigval value;
  std::int32_t scoid;
};

// The origin of a received message.
struct _msg_info {
  std::uint32_t nd;
  std::uint32_t srcnd;
  pid_t pid;            // sending process
  std::int32_t tid;     // sending thread
  std::int32_t chid;    // channel that it was received on
  std::int32_t scoid;   // the receiver's identifier of the client, the same for all messages of one connection
  std::int32_t coid;    // the client's connection
  std::int32_t msglen;  // bytes copied into the receive buffer
  std::int32_t srcmsglen;  // bytes that the sender sent
  std::int32_t dstmsglen;  // size of the sender's reply buffer
  std::int16_t priority;
};

// Creates a channel and returns its id (1 or more).
int ChannelCreate(unsigned flags);
// Destroys a channel: blocked receivers and senders get an error, and later sends fail with ESRCH.
int ChannelDestroy(int chid);

// Connects to channel `chid` of process `pid` (0: this one); `nd` and `index` are 0 or _NTO_SIDE_CHANNEL.
// Returns the connection's id.
int ConnectAttach(std::uint32_t nd, pid_t pid, int chid, unsigned index, int flags);
// Closes a connection. On the receiving side, with a scoid: disconnects that client.
int ConnectDetach(int coid);

// Sends `sbytes` (1 MiB + 1 KiB at most, else EMSGSIZE), blocks until the reply and copies at most `rbytes` of
// it. Returns the status that the receiver passed to MsgReply.
long MsgSend(int coid, const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes);
// Waits for a message or pulse. Returns a receive id above 0, which must be answered with MsgReply or MsgError;
// 0 for a pulse (`msg` then holds a _pulse); -1 on failure: ESRCH when the channel does not exist. A message
// longer than `bytes` is cut; `info` may be null. Any number of threads may wait on one channel.
int MsgReceive(int chid, void* msg, std::size_t bytes, _msg_info* info);
// Answers a message: the sender's MsgSend returns `status`, with as many of the bytes as fit its reply buffer.
// Fails with ESRCH when the sender is gone or has been answered already. Never blocks. Any thread.
int MsgReply(int rcvid, long status, const void* msg, std::size_t bytes);
// Answers a message with an error: the sender's MsgSend returns -1 and sets errno to `error`.
int MsgError(int rcvid, int error);
// Sends code and value without blocking; fails with EAGAIN when the receiver's queue is full. Pulses that one
// thread sends over one connection arrive in order.
int MsgSendPulse(int coid, int priority, int code, int value);

// The priority of a thread of this process (0: the calling thread), for MsgSendPulse.
int getprio(pid_t tid);
