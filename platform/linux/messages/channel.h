// The receiving side: channels, the sockets of their clients, and the ids under which messages wait for a
// reply.
//
// Each thread of a client has a connection of its own, so that replies cannot mix; one more stands for the
// client's connection as a whole and tells when it is gone. One receiver at a time, the holder of
// `receiving_`, waits for events and owns everything that is not said to be otherwise; the others wait for it.
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

#include "platform/linux/descriptor.h"
#include "platform/linux/messages/packet.h"
#include "platform/messages.h"

namespace platform {

// A client as the receiver knows it: one connection of one process, over all sockets of its threads.
struct client_t {
  int scoid = 0;
  int sockets = 0;
};

// One socket of a client.
struct incoming_t {
  Descriptor socket;
  pid_t pid = 0;
  std::uint32_t slot = 0;                   // its place in the table of receive ids
  std::uint32_t generation = 0;             // of the last message; makes receive ids unique
  std::atomic<std::uint32_t> owed = 0;      // generation of the message that waits for its reply, or 0
  std::atomic<std::uint32_t> sequence = 0;  // of that message, and the sender's room for the reply
  std::atomic<std::uint32_t> room = 0;
  std::atomic<int> scoid = 0;  // 0 until its first record; ConnectDetach reads it
  std::map<std::pair<pid_t, int>, client_t>::iterator client;
  bool hungUp = false;  // its end is somewhere behind what is still to be read
  bool ready = false;   // stands in the list of sockets to read
  incoming_t* nextReady = nullptr;
};

class Channel {
 public:
  Channel(int chid, unsigned flags) : chid_(chid), flags_(flags) {}
  ~Channel() = default;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // Once, before the channel is known to anybody else.
  bool Open();
  // As MsgReceive.
  int Receive(void* msg, std::size_t bytes, _msg_info* info);
  // Wakes every receiver, drops every client and removes the socket file. Once.
  void Close();
  const std::string& SocketPath() const { return path_; }

 private:
  enum class outcome_t { NOTHING, MESSAGE, PULSE };

  bool Watch(int descriptor, std::uint32_t events, void* tag) const;
  incoming_t* NextReady();
  void FetchEvents(int timeout_ms);
  void AcceptAll();
  bool AcceptOne();
  void RefuseOne();
  void PushReady(incoming_t* incoming);
  incoming_t* PopReady();

  outcome_t Read(incoming_t* incoming, void* msg, std::size_t bytes, _msg_info* info, int& rcvid);
  bool IsWellFormed(const incoming_t& incoming, const request_header_t& header, std::size_t copied,
                    std::size_t room) const;
  void Identify(incoming_t& incoming, const request_header_t& header);
  void Remove(incoming_t* incoming);
  void QueueSystemPulse(int code, int value, int scoid);

  const int chid_;
  const unsigned flags_;
  std::string path_;
  std::atomic<bool> closed_ = false;
  Descriptor wake_;  // readable for ever once the channel is closed
  std::mutex receiving_;
  // All that follows is the holder's of receiving_.
  Descriptor listener_;
  Descriptor events_;
  Descriptor reserve_;  // given up for a moment to refuse a client when the process has no descriptor left
  std::unordered_map<incoming_t*, std::shared_ptr<incoming_t>> incoming_;
  std::map<std::pair<pid_t, int>, client_t> clients_;
  std::deque<_pulse> systemPulses_;
  incoming_t* firstReady_ = nullptr;
  incoming_t* lastReady_ = nullptr;
  int readsSincePoll_ = 0;
};

// Gives a new socket its place among the receive ids. False when the table is full.
bool EnterIncoming(const std::shared_ptr<incoming_t>& incoming);
void LeaveIncoming(const incoming_t& incoming);
// Makes the receive id of the message that was just read from a socket, to which a reply is then owed.
int OweReply(incoming_t& incoming);
int ReceiveId(const incoming_t& incoming, std::uint32_t generation);
int NewScoid();
// Whether ConnectDetach was given the receiver's identifier of a client and not a connection.
bool IsScoid(int id);
// Drops the sockets of a client.
void DetachClient(int scoid);

}  // namespace platform
