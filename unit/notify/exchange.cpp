#include "unit/notify/exchange.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace unit {

int Exchange::AddClient(int connection, int process, int chid) {
  if (clients_.size() >= MAX_CLIENTS) return 0;
  do {
    lastClient_ = lastClient_ == std::numeric_limits<int>::max() ? 1 : lastClient_ + 1;
  } while (clients_.contains(lastClient_));
  if (!pulses_.Open(lastClient_, process, chid)) return -1;
  client_t& client = clients_[lastClient_];
  client.connection = connection;
  client.process = process;
  return lastClient_;
}

std::vector<int> Exchange::RemoveConnection(int connection) {
  std::vector<int> removed;
  for (auto it = clients_.begin(); it != clients_.end();) {
    if (it->second.connection != connection) {
      ++it;
      continue;
    }
    for (channel_t& channel : channels_) {
      std::erase(channel.subscribers, it->first);
      std::erase_if(channel.kept, [&](const auto& kept) { return kept.second.sender == it->first; });
    }
    pulses_.Close(it->first);
    removed.push_back(it->first);
    it = clients_.erase(it);
  }
  return removed;
}

bool Exchange::Owns(int connection, int client) const {
  const auto found = clients_.find(client);
  return found != clients_.end() && found->second.connection == connection;
}

int Exchange::RegisterName(std::string_view name) {
  if (const auto found = numbers_.find(name); found != numbers_.end()) return found->second;
  if (channels_.size() >= MAX_CHANNELS) return 0;
  channels_.push_back({.name = std::string(name)});
  const int number = static_cast<int>(channels_.size());
  numbers_.emplace(name, number);
  return number;
}

void Exchange::Subscribe(int client, int channel) {
  std::vector<int>& subscribers = Channel(channel).subscribers;
  if (std::ranges::find(subscribers, client) != subscribers.end()) return;
  subscribers.push_back(client);
  client_t& subscriber = clients_.at(client);
  for (const auto& [state, kept] : Channel(channel).kept) {
    if (kept.sender != client) subscriber.missed.emplace(channel, state);
  }
  SendMissed(client, subscriber);
}

void Exchange::SetStateRule(int channel, state_rule_t rule) {
  Channel(channel).rule = std::move(rule);
}

void Exchange::SetNewsChannel(int channel, int news, news_rule_t isNews) {
  Channel(channel).news = news;
  Channel(channel).isNews = std::move(isNews);
}

int Exchange::Publish(int sender, int channel, std::span<const std::uint8_t> payload) {
  ++published_;
  std::size_t room = QueueForAll(sender, channel, payload);
  const channel_t& from = Channel(channel);
  if (from.news > 0 && from.isNews(payload)) room = std::min(room, QueueForAll(sender, from.news, payload));
  return static_cast<int>(std::min<std::size_t>(room, std::numeric_limits<int>::max()));
}

// Returns the room in the fullest queue, as Publish.
std::size_t Exchange::QueueForAll(int sender, int channel, std::span<const std::uint8_t> payload) {
  std::size_t room = limits_.messages;
  const std::vector<int>& subscribers = Channel(channel).subscribers;
  const bool anyReader = std::ranges::any_of(subscribers, [sender](int id) { return id != sender; });
  if (anyReader || Channel(channel).rule) {
    const message_t message = MakeMessage(sender, channel, payload);
    for (const int id : subscribers) {
      if (id != sender) room = std::min(room, Queue(id, message));
    }
  }
  return room;
}

message_t Exchange::MakeMessage(int sender, int channel, std::span<const std::uint8_t> payload) {
  channel_t& to = Channel(channel);
  message_t message{channel, std::make_shared<const std::vector<std::uint8_t>>(payload.begin(), payload.end())};
  if (!to.rule) return message;
  state_key_t key = to.rule(payload);
  message.state = std::move(key.name);
  message.isClosing = key.isClosing;
  if (key.isKept && (to.kept.contains(message.state) || to.kept.size() < MAX_KEPT)) {
    to.kept.insert_or_assign(message.state, kept_t{sender, message});
  }
  return message;
}

// Returns the room for more messages of this size; 0 when the client lost a message.
std::size_t Exchange::Queue(int id, const message_t& message) {
  client_t& client = clients_.at(id);
  const std::size_t bytes = message.payload->size();
  if (!message.state.empty()) client.missed.erase({message.channel, message.state});
  if (Merge(client, message)) return RoomFor(client, bytes);
  const bool lostNothing = MakeRoom(client, bytes);
  Append(id, client, message);
  return lostNothing ? RoomFor(client, bytes) : 0;
}

// Puts the message in the place of a waiting one that sets the same. It keeps that place: at the end of the
// queue, a state that changes faster than the client reads would never be reached.
bool Exchange::Merge(client_t& client, const message_t& message) {
  if (message.state.empty() || client.queue.size() < limits_.behind) return false;
  const auto older = client.waiting.find({message.channel, message.state});
  if (older == client.waiting.end()) return false;
  if (message.isClosing && older->second != &client.queue.back()) return false;
  const std::size_t bytes = client.bytes - older->second->payload->size() + message.payload->size();
  if (bytes > limits_.bytes) return false;
  client.bytes = bytes;
  older->second->payload = message.payload;
  ++merged_;
  return true;
}

// A reference into the queue stays good while messages go in at its end and out at its front.
void Exchange::Append(int id, client_t& client, const message_t& message) {
  client.queue.push_back(message);
  client.bytes += message.payload->size();
  if (!message.state.empty()) client.waiting[{message.channel, message.state}] = &client.queue.back();
  Announce(id, client);
}

message_t Exchange::TakeOldest(client_t& client) {
  message_t& oldest = client.queue.front();
  if (!oldest.state.empty()) {
    const auto newest = client.waiting.find({oldest.channel, oldest.state});
    if (newest->second == &oldest) client.waiting.erase(newest);
  }
  message_t message = std::move(oldest);
  client.bytes -= message.payload->size();
  client.queue.pop_front();
  return message;
}

std::optional<message_t> Exchange::Fetch(int id) {
  client_t& client = clients_.at(id);
  if (client.announced > 0) --client.announced;
  if (client.queue.empty()) return std::nullopt;
  message_t message = TakeOldest(client);
  ++delivered_;
  Announce(id, client);
  if (!client.missed.empty()) SendMissed(id, client);
  return message;
}

const Exchange::kept_t* Exchange::FindKept(int channel, const std::string& state) const {
  const auto& kept = channels_[static_cast<std::size_t>(channel) - 1].kept;
  const auto found = kept.find(state);
  return found == kept.end() ? nullptr : &found->second;
}

// Queues the kept messages that the client has missed, as far as there is room. The next fetch goes on.
void Exchange::SendMissed(int id, client_t& client) {
  while (!client.missed.empty()) {
    const auto next = client.missed.begin();
    const kept_t* kept = FindKept(next->first, next->second);
    if (kept != nullptr && kept->sender != id) {
      if (!client.queue.empty() && RoomFor(client, kept->message.payload->size()) == 0) return;
      Append(id, client, kept->message);
    }
    client.missed.erase(next);
  }
}

bool Exchange::PayOwedPulses() {
  owed_ = false;
  bool paid = false;
  for (auto& [id, client] : clients_) paid = Announce(id, client) || paid;
  return paid;
}

std::vector<loss_t> Exchange::DrainLosses() {
  std::vector<loss_t> losses;
  for (auto& [id, client] : clients_) {
    if (client.unreportedLosses == 0) continue;
    losses.push_back({id, client.process, std::exchange(client.unreportedLosses, 0)});
  }
  return losses;
}

// Drops the oldest messages until one of `bytes` bytes fits. False when it dropped any.
bool Exchange::MakeRoom(client_t& client, std::size_t bytes) {
  const std::uint64_t before = lost_;
  while (!client.queue.empty() &&
         (client.queue.size() >= limits_.messages || client.bytes + bytes > limits_.bytes)) {
    DropOldest(client);
  }
  return lost_ == before;
}

void Exchange::DropOldest(client_t& client) {
  const message_t oldest = TakeOldest(client);
  const kept_t* kept = FindKept(oldest.channel, oldest.state);
  if (kept != nullptr && kept->message.payload == oldest.payload) {
    client.missed.emplace(oldest.channel, oldest.state);
  }
  ++client.unreportedLosses;
  ++lost_;
}

// Sends a pulse for each message that has none yet. True when it sent one.
bool Exchange::Announce(int id, client_t& client) {
  const std::size_t before = client.announced;
  while (client.announced < client.queue.size()) {
    const PulsePort::delivery_t result = pulses_.Send(id);
    if (result == PulsePort::delivery_t::FULL) owed_ = true;
    if (result != PulsePort::delivery_t::SENT) break;  // GONE: RemoveConnection follows
    ++client.announced;
  }
  return client.announced > before;
}

std::size_t Exchange::RoomFor(const client_t& client, std::size_t bytes) const {
  const std::size_t messages = limits_.messages - std::min(limits_.messages, client.queue.size());
  const std::size_t free = limits_.bytes - std::min(limits_.bytes, client.bytes);
  return bytes == 0 ? messages : std::min(messages, free / bytes);
}

}  // namespace unit
