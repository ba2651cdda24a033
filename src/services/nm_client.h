// The client of the notification manager: named event channels, publishing and receiving.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>

#include "src/services/nm_messages.h"

namespace NM {

// One identity at the notification manager. Any thread may call registerName, subscribe and sendMsg: they share
// one buffer under the client's own lock. One thread at a time may be in recvMsg, beside them. Nothing here
// throws; -1 is the only failure value, and a client that could not connect stays unusable (every call returns
// -1 at once).
class NMClient {
 public:
  // Connects. Prints "NM-Client: Error: ..." on standard error when it has no channel or finds no server.
  NMClient();
  ~NMClient();
  NMClient(const NMClient&) = delete;
  NMClient& operator=(const NMClient&) = delete;

  // The number of the event channel with this name, the same for every client; -1 on failure.
  int registerName(const char* name);
  // Asks for the messages of a channel. The server's result, or -1.
  int subscribe(int channel);
  // Publishes `len` bytes (NM_PAYLOAD_SIZE at most) to every other subscriber. The server's result (see
  // nm_messages.h), or -1. Blocks for one round trip to the server, never for a subscriber.
  int sendMsg(int channel, const char* data, int len);
  // Waits for the next message of a subscribed channel, copies at most `maxlen` bytes of it to `buf`, sets
  // `channel`. Returns the bytes copied, 0 when there was nothing to fetch (after wakeReceiver), -1 on failure.
  int recvMsg(int& channel, char* buf, int maxlen);

  // Makes a blocked or the next recvMsg return with nothing. Any thread.
  void wakeReceiver();
  bool isValid() const { return valid_.load(std::memory_order_relaxed); }

 private:
  struct request_t {
    nm_type_t type;
    std::int32_t channel;
    std::int32_t length;
    std::span<const char> payload;
  };
  void Connect();
  // One exchange through sendBuffer_. Returns the reply's word at `resultAt`, or -1.
  int Request(const request_t& request, std::size_t resultAt);
  int Fetch(int& channel, char* buf, int maxlen);

  int chid_ = 0;       // the client's own channel, where the server's pulses arrive
  int clientId_ = -1;  // given by the server at connection
  int coid_ = 0;       // the connection to the server
  std::atomic<bool> valid_{true};
  int wakeCoid_ = -1;     // the client's connection to its own channel
  std::mutex sendMutex_;  // guards sendBuffer_
  std::array<std::uint8_t, NM_MESSAGE_SIZE> sendBuffer_{};
  std::array<std::uint8_t, NM_MESSAGE_SIZE> recvBuffer_{};  // the receiving thread's
};

}  // namespace NM
