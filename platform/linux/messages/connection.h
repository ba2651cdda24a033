// The sending side: connections, and one socket of each for every thread that uses it.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include <sys/types.h>

#include "platform/linux/descriptor.h"
#include "platform/linux/messages/packet.h"

namespace platform {

// The other end's process: known to be gone even while some child of it still holds its sockets.
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
  Descriptor process_;
};

// One thread's socket of a connection.
class Outgoing {
 public:
  Outgoing(int coid, std::shared_ptr<Receiver> receiver, Descriptor socket)
      : coid_(coid), receiver_(std::move(receiver)), socket_(std::move(socket)) {}

  long RoundTrip(const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes);
  int Pulse(int code, int value);
  // Wakes the thread that waits for a reply, if one does, and closes the socket. Any thread.
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
  std::mutex use_;  // held over a round trip; guards what follows
  Descriptor socket_;
  std::uint32_t sequence_ = 0;
};

}  // namespace platform
