// A thread that answers the messages sent to a name.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <thread>

#include "platform/names.h"

namespace unit {

struct reply_t {
  long status = 0;
  std::string bytes;
};

// Owns the name and the thread; both end with the object, after the message that is being answered.
class MessageServer {
 public:
  // `answer` is called on the server's thread with each message, cut at `capacity` bytes. Throws
  // std::runtime_error when the name is taken.
  MessageServer(const char* name, std::size_t capacity,
                std::function<reply_t(std::span<const std::uint8_t> message)> answer);
  ~MessageServer();
  MessageServer(const MessageServer&) = delete;
  MessageServer& operator=(const MessageServer&) = delete;

 private:
  void Run();
  void TakePulse(std::span<const std::uint8_t> buffer);

  const std::size_t capacity_;
  const std::function<reply_t(std::span<const std::uint8_t>)> answer_;
  name_attach_t* attach_;
  int self_;  // a connection to the own channel, to end the wait
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace unit
