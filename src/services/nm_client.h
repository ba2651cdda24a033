// The client of the notification manager: registers names of event channels, publishes and receives.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>

#include "src/services/nm_messages.h"

namespace NM {

// One client identity at the notification manager. Any thread may call registerName, subscribe and sendMsg.
// sendMsg has a buffer of its own on the stack, because three workers of the application send a hundred times a
// second each: behind one buffer they would wait for each other's round trips, and then always wake together.
// At the same time one thread may be in recvMsg. No function throws; -1 is the only failure value. When the
// constructor could not connect, every call returns -1 at once.
class NMClient {
 public:
  // Connects. Prints "NM-Client: Error: ..." on standard error when it cannot create its channel or find the
  // server.
  NMClient();
  ~NMClient();
  NMClient(const NMClient&) = delete;
  NMClient& operator=(const NMClient&) = delete;

  // Returns the number of the event channel with this name, which is the same for every client; -1 on failure.
  int registerName(const char* name);
  // Subscribes a channel: its messages are then delivered to this client. Returns the server's result, or -1.
  int subscribe(int channel);
  // Publishes `len` bytes (NM_PAYLOAD_SIZE at most) to all other subscribers of the channel. Returns the
  // server's result (nm_messages.h), or -1. Blocks for one round trip to the server, never for a subscriber.
  int sendMsg(int channel, const char* data, int len);
  // Waits for the next message of a subscribed channel, copies at most `maxlen` bytes of it to `buf` and sets
  // `channel`. Returns the number of bytes copied; 0 when wakeReceiver ended the wait; -1 on failure.
  int recvMsg(int& channel, char* buf, int maxlen);

  // Makes a blocked recvMsg, or the next one, return 0. Any thread.
  void wakeReceiver();
  bool isValid() const { return valid_.load(std::memory_order_relaxed); }

 private:
  struct nm_request_t {
    nm_type_t type;
    std::int32_t channel;
    std::int32_t length;
    std::span<const char> payload;
  };
  using message_area_t = std::array<std::uint8_t, NM_MESSAGE_SIZE>;

  void Connect();
  // Sends one request from `buffer` and waits for its reply there. Returns the reply's word at `resultAt`, or
  // -1.
  int Request(const nm_request_t& request, std::size_t resultAt, message_area_t& buffer) const;
  int Fetch(int& channel, char* buf, int maxlen);

  int chid_ = 0;       // the client's own channel, on which it receives the server's pulses
  int clientId_ = -1;  // assigned by the server
  int coid_ = 0;       // the connection to the server
  std::atomic<bool> valid_{true};
  int wakeCoid_ = -1;     // the client's connection to its own channel
  std::mutex sendMutex_;  // guards sendBuffer_
  message_area_t sendBuffer_{};
  message_area_t recvBuffer_{};  // used by the receiving thread alone
};

}  // namespace NM
