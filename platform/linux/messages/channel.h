// The receiving side of messages: channels, the sockets of their clients, and receive ids.
//
// Each thread of a client has a socket of its own, so that it gets only its own replies. One more socket
// represents the client's connection as a whole; the receiver sees its end when the connection is closed. One
// receiving thread at a time, the holder of `receiving_`, waits for events; the other receivers wait for the
// mutex.
#pragma once

#include <array>
#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/linux/messages/packet.h"
#include "platform/linux/unshared_descriptor.h"
#include "platform/messages.h"

namespace platform {

// A client of a channel: one connection of one process, with all its sockets.
struct channel_client_t {
  int scoid = 0;
  int sockets = 0;
};

// One socket of a client.
struct incoming_t {
  UnsharedDescriptor socket;
  pid_t pid = 0;
  std::uint32_t slot = 0;                   // index into the table of receive ids
  std::uint32_t generation = 0;             // counts messages; makes receive ids unique
  std::atomic<std::uint32_t> owed = 0;      // generation of the message that has no reply yet, or 0
  std::atomic<std::uint32_t> sequence = 0;  // of that message; `room` is the size of its sender's reply buffer
  std::atomic<std::uint32_t> room = 0;
  std::atomic<int> scoid = 0;  // 0 until the first record; ConnectDetach reads it too
  std::map<std::pair<pid_t, int>, channel_client_t>::iterator client;
  bool hungUp = false;  // the client has closed it; records may still be unread
  bool ready = false;   // is in the list of sockets to read
  incoming_t* nextReady = nullptr;
};

class Channel {
 public:
  Channel(int chid, unsigned flags) : chid_(chid), flags_(flags) {}
  ~Channel() = default;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // Creates the listening socket. Called once, before another thread knows the channel.
  bool Open();
  // As MsgReceive.
  int Receive(void* msg, std::size_t bytes, _msg_info* info);
  // Wakes every receiver, disconnects every client and removes the socket file. Called once.
  void Close();
  const std::string& SocketPath() const { return path_; }

 private:
  enum class read_result_t { NOTHING, MESSAGE, PULSE };

  bool Watch(int descriptor, std::uint32_t events, void* tag) const;
  incoming_t* NextReady();
  void FetchEvents(int timeout_ms);
  void AcceptAll();
  bool AcceptOne();
  void RefuseOne();
  void PushReady(incoming_t* incoming);
  incoming_t* PopReady();

  read_result_t Read(incoming_t* incoming, void* msg, std::size_t bytes, _msg_info* info, int& rcvid);
  void FillInfo(_msg_info& info, const incoming_t& incoming, const request_header_t& header,
                std::size_t copied) const;
  bool IsWellFormed(const incoming_t& incoming, const request_header_t& header, std::size_t copied,
                    std::size_t room) const;
  void Identify(incoming_t& incoming, const request_header_t& header);
  void Remove(incoming_t* incoming);
  void QueueSystemPulse(int code, int value, int scoid);

  const int chid_;
  const unsigned flags_;
  std::string path_;
  std::atomic<bool> closed_ = false;
  UnsharedDescriptor wake_;  // readable once the channel is closed
  std::mutex receiving_;
  // Guarded by receiving_:
  UnsharedDescriptor listener_;
  UnsharedDescriptor events_;
  UnsharedDescriptor
      reserve_;  // closed for a moment to refuse a client when the process has no descriptor left
  std::unordered_map<incoming_t*, std::shared_ptr<incoming_t>> incoming_;
  std::map<std::pair<pid_t, int>, channel_client_t> clients_;
  std::deque<_pulse> systemPulses_;
  incoming_t* firstReady_ = nullptr;
  incoming_t* lastReady_ = nullptr;
  int readsSincePoll_ = 0;
};

// Adds a socket to the table of receive ids. False when the table is full.
bool EnterIncoming(const std::shared_ptr<incoming_t>& incoming);
void LeaveIncoming(const incoming_t& incoming);
// Notes that the message just read needs a reply, and returns its receive id.
int OweReply(incoming_t& incoming);
int ReceiveId(const incoming_t& incoming, std::uint32_t generation);
int NewScoid();
// Whether the id is a scoid (a client of a channel) and not a connection.
bool IsScoid(int id);
// Disconnects a client.
void DetachClient(int scoid);

}  // namespace platform
