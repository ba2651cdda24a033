// A thread that answers the messages to a name.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <thread>

#include "platform/names.h"

namespace unit {

struct message_reply_t {
  long status = 0;
  std::string bytes;
};

// Sends the reply to the client that waits for it; any thread. Of the bytes at most MOST_REPLY_BYTES: a larger
// reply would be refused, and the client would wait for ever. Nothing where the client or the server is gone.
constexpr std::size_t MOST_REPLY_BYTES = 1U << 20U;
void SendReply(int rcvid, const message_reply_t& reply);

// Has the name and the thread. The destructor waits until the message at hand is answered.
class MessageServer {
 public:
  // The reply to a message; empty where SendReply will send it later.
  using handler_t =
      std::function<std::optional<message_reply_t>(std::span<const std::uint8_t> message, int rcvid)>;

  // The server's thread calls `answer` with each message, cut off after `capacity` bytes. Throws
  // std::runtime_error when another process has the name.
  MessageServer(const char* name, std::size_t capacity, handler_t answer);
  ~MessageServer();
  MessageServer(const MessageServer&) = delete;
  MessageServer& operator=(const MessageServer&) = delete;

 private:
  void Run();
  void AcceptPulse(std::span<const std::uint8_t> buffer);

  const std::size_t capacity_;
  const handler_t answer_;
  name_attach_t* attach_;
  int self_;  // connection to the server's own channel, to end its wait
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace unit
