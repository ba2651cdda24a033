// A thread that answers the messages to a name.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <thread>

#include "platform/names.h"

namespace unit {

struct message_reply_t {
  long status = 0;
  std::string bytes;
};

// Has the name and the thread. The destructor waits until the message at hand is answered.
class MessageServer {
 public:
  // The server's thread calls `answer` with each message, cut off after `capacity` bytes. Throws
  // std::runtime_error when another process has the name.
  MessageServer(const char* name, std::size_t capacity,
                std::function<message_reply_t(std::span<const std::uint8_t> message)> answer);
  ~MessageServer();
  MessageServer(const MessageServer&) = delete;
  MessageServer& operator=(const MessageServer&) = delete;

 private:
  void Run();
  void AcceptPulse(std::span<const std::uint8_t> buffer);

  const std::size_t capacity_;
  const std::function<message_reply_t(std::span<const std::uint8_t>)> answer_;
  name_attach_t* attach_;
  int self_;  // connection to the server's own channel, to end its wait
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace unit
