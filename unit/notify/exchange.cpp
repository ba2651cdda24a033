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

void Exchange::RemoveConnection(int connection) {
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
    it = clients_.erase(it);
  }
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
  for (const auto& [key, kept] : Channel(channel).kept) {
    if (kept.sender != client) subscriber.missed.emplace(channel, key);
  }
  SendMissed(client, subscriber);
}

void Exchange::KeepNewest(int channel, message_key_t key) {
  Channel(channel).key = key;
}

int Exchange::Publish(int sender, int channel, std::span<const std::uint8_t> payload) {
  ++published_;
  std::size_t room = limits_.messages;
  const std::vector<int>& subscribers = Channel(channel).subscribers;
  const bool anyReader = std::ranges::any_of(subscribers, [sender](int id) { return id != sender; });
  if (anyReader || Channel(channel).key != nullptr) {
    const message_t message = MakeMessage(sender, channel, payload);
    for (const int id : subscribers) {
      if (id != sender) room = std::min(room, Queue(id, message));
    }
  }
  return static_cast<int>(std::min<std::size_t>(room, std::numeric_limits<int>::max()));
}

message_t Exchange::MakeMessage(int sender, int channel, std::span<const std::uint8_t> payload) {
  channel_t& to = Channel(channel);
  message_t message{channel, std::make_shared<const std::vector<std::uint8_t>>(payload.begin(), payload.end())};
  if (to.key == nullptr) return message;
  message.key = to.key(payload);
  if (message.key.empty()) return message;
  if (to.kept.contains(message.key) || to.kept.size() < MAX_KEPT) {
    to.kept.insert_or_assign(message.key, kept_t{sender, message});
  }
  return message;
}

// Returns the room for more messages of this size; 0 when the client lost a message.
std::size_t Exchange::Queue(int id, const message_t& message) {
  client_t& client = clients_.at(id);
  const std::size_t bytes = message.payload->size();
  const bool lostNothing = MakeRoom(client, bytes);
  if (!message.key.empty()) client.missed.erase({message.channel, message.key});
  Append(id, client, message);
  return lostNothing ? RoomFor(client, bytes) : 0;
}

void Exchange::Append(int id, client_t& client, const message_t& message) {
  client.queue.push_back(message);
  client.bytes += message.payload->size();
  Announce(id, client);
}

std::optional<message_t> Exchange::Fetch(int id) {
  client_t& client = clients_.at(id);
  if (client.announced > 0) --client.announced;
  if (client.queue.empty()) return std::nullopt;
  message_t message = std::move(client.queue.front());
  client.queue.pop_front();
  client.bytes -= message.payload->size();
  ++delivered_;
  Announce(id, client);
  if (!client.missed.empty()) SendMissed(id, client);
  return message;
}

const Exchange::kept_t* Exchange::FindKept(int channel, const std::string& key) const {
  const auto& kept = channels_[static_cast<std::size_t>(channel) - 1].kept;
  const auto found = kept.find(key);
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
  const message_t& oldest = client.queue.front();
  const kept_t* kept = FindKept(oldest.channel, oldest.key);
  if (kept != nullptr && kept->message.payload == oldest.payload)
    client.missed.emplace(oldest.channel, oldest.key);
  client.bytes -= oldest.payload->size();
  client.queue.pop_front();
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
