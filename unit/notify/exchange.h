// The clients, the named channels and the queues of the notification manager.
//
// Its only output are the pulses, which go through a PulsePort. Only one thread at a time may use an object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace unit {

// Sends pulses to the clients' own channels.
class PulsePort {
 public:
  enum class delivery_t { SENT, FULL, GONE };
  virtual ~PulsePort() = default;
  // Connects to channel `chid` of `process`; false when that fails.
  virtual bool Open(int client, int process, int chid) = 0;
  // Tells the client that a message waits. Never blocks. FULL: the channel has no room for a pulse now; GONE:
  // the client has ended.
  virtual delivery_t Send(int client) = 0;
  virtual void Close(int client) = 0;
};

// The first two bound each subscriber's queue. When a new message does not fit, the oldest ones are dropped.
struct queue_limits_t {
  std::size_t messages;
  std::size_t bytes;
  // A subscriber with so many messages waiting is behind. A message then takes the place of a waiting one that
  // sets the same state, so that a slow reader gets new values and not every value late.
  std::size_t behind = 64;
};

// One message. All queues that it waits in share its payload.
struct message_t {
  int channel = -1;
  std::shared_ptr<const std::vector<std::uint8_t>> payload;
  std::string state{};  // see state_key_t
  bool isClosing = false;
};

// What a message of a channel sets: two messages with one name set the same. Empty when it sets nothing.
struct state_key_t {
  std::string name;
  bool isKept = false;  // the newest is kept for those who subscribe later or lost it
  // It acts on the messages before it, so that it takes no place before any of them.
  bool isClosing = false;
};
using state_rule_t = std::function<state_key_t(std::span<const std::uint8_t> payload)>;

// Whether a message says more than the ones before it.
using news_rule_t = std::function<bool(std::span<const std::uint8_t> payload)>;

// Messages that a client lost because it did not fetch in time.
struct loss_t {
  int client;
  int process;
  std::uint64_t messages;
};

class Exchange {
 public:
  static constexpr std::size_t MAX_CLIENTS = 256;
  static constexpr std::size_t MAX_CHANNELS = 1024;
  static constexpr std::size_t MAX_KEPT = 1024;  // messages of one channel; further keys are not kept

  Exchange(queue_limits_t limits, PulsePort& pulses) : limits_(limits), pulses_(pulses) {}

  // Adds a client of `connection` whose pulses go to channel `chid` of `process`. Returns its identity, from 1;
  // 0 when there are too many clients, -1 when the channel cannot be reached.
  int AddClient(int connection, int process, int chid);
  // Removes the clients of a connection that has ended, and their queues. Returns their identities.
  std::vector<int> RemoveConnection(int connection);
  // Whether `client` was added for `connection`.
  bool Owns(int connection, int client) const;

  // The number of the channel with this name, from 1. Adds the channel when the name is new; 0 when there are
  // too many.
  int RegisterName(std::string_view name);
  bool HasChannel(int channel) const { return channel >= 1 && std::cmp_less_equal(channel, channels_.size()); }
  // The client and the channel must exist. A second subscription changes nothing.
  void Subscribe(int client, int channel);
  // Says which messages of the channel set a state. The newest of those to be kept is kept while its sender
  // lives: a new subscriber gets them all, and a subscriber whose full queue lost one gets it as soon as its
  // queue has room.
  void SetStateRule(int channel, state_rule_t rule);
  // Publishes the messages of `channel` for which the rule is true on the channel `news` too, which has a state
  // rule of its own. A subscriber of `news` is not woken for the others.
  void SetNewsChannel(int channel, int news, news_rule_t isNews);

  // Queues the payload for every subscriber but the sender, in the order of subscribing. Returns how many more
  // messages of this size the fullest of their queues has room for; 0 when one of them lost a message.
  int Publish(int sender, int channel, std::span<const std::uint8_t> payload);
  // The client's oldest message.
  std::optional<message_t> Fetch(int client);

  // True while a message waits for which no pulse could be sent. PayOwedPulses tries again and returns true
  // when it sent one.
  bool AnyPulseOwed() const { return owed_; }
  bool PayOwedPulses();

  // The losses since the last call, one entry for each client that lost messages.
  std::vector<loss_t> DrainLosses();

  std::size_t ClientCount() const { return clients_.size(); }
  std::size_t ChannelCount() const { return channels_.size(); }
  std::uint64_t Published() const { return published_; }
  std::uint64_t Delivered() const { return delivered_; }
  std::uint64_t Lost() const { return lost_; }
  // Messages that took the place of an older one which still waited.
  std::uint64_t Merged() const { return merged_; }

 private:
  using state_t = std::pair<int, std::string>;  // channel and name
  struct client_t {
    int connection = 0;
    int process = 0;
    std::deque<message_t> queue;
    std::size_t bytes = 0;
    // The pulses that no fetch has answered yet. The pulse of a dropped message counts for the message that
    // takes its place, so that the numbers of pulses and of messages stay equal.
    std::size_t announced = 0;
    std::uint64_t unreportedLosses = 0;
    std::set<state_t> missed{};               // of kept messages to be sent again
    std::map<state_t, message_t*> waiting{};  // the newest message in `queue` for each state
  };
  struct kept_t {
    int sender;
    message_t message;
  };
  struct channel_t {
    std::string name;
    std::vector<int> subscribers{};
    state_rule_t rule{};
    std::map<std::string, kept_t> kept{};
    int news = 0;  // 0: none
    news_rule_t isNews{};
  };

  channel_t& Channel(int channel) { return channels_[static_cast<std::size_t>(channel) - 1]; }
  const kept_t* FindKept(int channel, const std::string& state) const;
  message_t MakeMessage(int sender, int channel, std::span<const std::uint8_t> payload);
  std::size_t QueueForAll(int sender, int channel, std::span<const std::uint8_t> payload);
  std::size_t Queue(int id, const message_t& message);
  bool Merge(client_t& client, const message_t& message);
  void Append(int id, client_t& client, const message_t& message);
  static message_t TakeOldest(client_t& client);
  void DropOldest(client_t& client);
  void SendMissed(int id, client_t& client);
  bool MakeRoom(client_t& client, std::size_t bytes);
  bool Announce(int id, client_t& client);
  std::size_t RoomFor(const client_t& client, std::size_t bytes) const;

  queue_limits_t limits_;
  PulsePort& pulses_;
  std::unordered_map<int, client_t> clients_;
  std::vector<channel_t> channels_;  // channel n is at index n - 1
  std::map<std::string, int, std::less<>> numbers_;
  int lastClient_ = 0;
  bool owed_ = false;
  std::uint64_t published_ = 0;
  std::uint64_t delivered_ = 0;
  std::uint64_t lost_ = 0;
  std::uint64_t merged_ = 0;
};

}  // namespace unit
