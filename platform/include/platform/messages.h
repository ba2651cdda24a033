// Synchronous messages and pulses between processes and threads, under Neutrino's own names.
//
// A channel receives; a connection sends. MsgSend blocks until the receiver replies, a pulse never blocks its
// sender. Any number of threads may use one connection at once; each gets the reply to its own message. A
// receiver that dies fails every blocked and later send with ESRCH. All calls are thread-safe and return -1
// with errno on failure: EBADF for a connection that is none. On Linux a signal does not end a wait, signal
// handlers call none of these, and a forked child has none of its parent's channels and connections.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include <sys/types.h>

// Channel flags.
constexpr unsigned _NTO_CHF_FIXED_PRIORITY = 0x0001;
// A pulse, whose value is the receive id, tells the receiver that whoever waits for its reply is gone.
constexpr unsigned _NTO_CHF_UNBLOCK = 0x0002;
// A pulse, whose scoid is the client's, tells the receiver that the whole of a client's connection is gone.
constexpr unsigned _NTO_CHF_DISCONNECT = 0x0040;
constexpr unsigned _NTO_SIDE_CHANNEL = 0x40000000;

// Codes of the system's own pulses; a program's codes are 0 to 127.
constexpr int _PULSE_CODE_UNBLOCK = -32;
constexpr int _PULSE_CODE_DISCONNECT = -33;

// What MsgReceive writes when it returns 0.
struct _pulse {
  std::uint16_t type;
  std::uint16_t subtype;
  std::int8_t code;
  std::uint8_t zero[3];
  sigval value;
  std::int32_t scoid;
};

// Where a received message came from.
struct _msg_info {
  std::uint32_t nd;
  std::uint32_t srcnd;
  pid_t pid;               // sending process
  std::int32_t tid;        // sending thread
  std::int32_t chid;       // channel that it was received on
  std::int32_t scoid;      // this side's identifier of the client, the same for all messages of one connection
  std::int32_t coid;       // the client's connection
  std::int32_t msglen;     // bytes copied into the receive buffer
  std::int32_t srcmsglen;  // bytes that the sender sent
  std::int32_t dstmsglen;  // bytes that the sender has room for in its reply buffer
  std::int16_t priority;
};

// Makes a channel and returns its id (1 or more).
int ChannelCreate(unsigned flags);
// Ends a channel: blocked receivers and senders get an error, later sends fail with ESRCH.
int ChannelDestroy(int chid);

// Connects to channel `chid` of process `pid` (0: this one); `nd` and `index` are 0 or _NTO_SIDE_CHANNEL.
// Returns the connection's id.
int ConnectAttach(std::uint32_t nd, pid_t pid, int chid, unsigned index, int flags);
// Ends a connection, or, on the receiving side, releases what is kept for the client `scoid`.
int ConnectDetach(int coid);

// Sends `sbytes` (1 MiB + 1 KiB at most, else EMSGSIZE) and blocks until the reply, of which at most `rbytes`
// are copied. Returns the status that the receiver gave to MsgReply.
long MsgSend(int coid, const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes);
// Waits for a message or pulse. Returns a receive id above 0 to be answered with MsgReply or MsgError, 0 for a
// pulse (`msg` then holds a _pulse), -1 on failure: ESRCH when there is no such channel any more. A message
// longer than `bytes` is cut; `info` may be null. Any number of threads may wait on one channel.
int MsgReceive(int chid, void* msg, std::size_t bytes, _msg_info* info);
// Answers a message: the sender's MsgSend returns `status` and gets the bytes that it has room for. ESRCH: the
// sender is gone, or was answered before. Never blocks. Any thread.
int MsgReply(int rcvid, long status, const void* msg, std::size_t bytes);
// Answers a message with an error: the sender's MsgSend returns -1 and errno is `error`.
int MsgError(int rcvid, int error);
// Sends code and value without blocking; EAGAIN where the receiver has no room for it. Pulses of one thread
// over one connection arrive in the order that they were sent.
int MsgSendPulse(int coid, int priority, int code, int value);

// The priority of a thread of this process (0: the calling one), as MsgSendPulse takes it.
int getprio(pid_t tid);
