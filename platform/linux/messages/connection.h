// The sending side of messages: connections, and the socket that each thread has for each connection.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include <sys/types.h>

#include "platform/linux/messages/packet.h"
#include "platform/linux/unshared_descriptor.h"

namespace platform {

// The process and channel at the other end of a connection. Detects the death of the process even while a child
// of it holds a copy of its sockets.
class Receiver {
 public:
  Receiver(pid_t pid, int chid);
  bool IsGone() const { return gone_.load(std::memory_order_relaxed) || IsProcessGone(); }
  void SetGone() { gone_.store(true, std::memory_order_relaxed); }
  pid_t Pid() const { return pid_; }
  int Chid() const { return chid_; }

 private:
  bool IsProcessGone() const;

  const pid_t pid_;
  const int chid_;
  std::atomic<bool> gone_ = false;
  UnsharedDescriptor process_;
};

// One thread's socket of a connection.
class Outgoing {
 public:
  Outgoing(int coid, std::shared_ptr<Receiver> receiver, UnsharedDescriptor socket)
      : coid_(coid), receiver_(std::move(receiver)), socket_(std::move(socket)) {}

  // As MsgSend and MsgSendPulse, over this socket.
  long RoundTrip(const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes);
  int Pulse(int code, int value);
  // Wakes a thread that waits for a reply, and closes the socket. Any thread.
  void Close();
  bool IsClosed() const { return closed_.load(std::memory_order_relaxed); }
  int Coid() const { return coid_; }

 private:
  request_header_t MakeHeader(packet_kind_t kind);
  int SendAll(const request_header_t& header, const void* body, std::size_t bytes);
  long AwaitReply(void* rmsg, std::size_t rbytes);
  int Fail(int error);

  const int coid_;
  const std::shared_ptr<Receiver> receiver_;
  std::atomic<bool> closed_ = false;
  std::mutex use_;  // guards the rest; held during a round trip
  UnsharedDescriptor socket_;
  std::uint32_t sequence_ = 0;
};

}  // namespace platform
