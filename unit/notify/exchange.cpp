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
    for (channel_t& channel : channels_) std::erase(channel.subscribers, it->first);
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
  channels_.push_back({std::string(name), {}});
  const int number = static_cast<int>(channels_.size());
  numbers_.emplace(name, number);
  return number;
}

void Exchange::Subscribe(int client, int channel) {
  std::vector<int>& subscribers = channels_[static_cast<std::size_t>(channel) - 1].subscribers;
  if (std::ranges::find(subscribers, client) == subscribers.end()) subscribers.push_back(client);
}

int Exchange::Publish(int sender, int channel, std::span<const std::uint8_t> payload) {
  ++published_;
  std::size_t room = limits_.messages;
  message_t message{channel, nullptr};
  for (const int id : channels_[static_cast<std::size_t>(channel) - 1].subscribers) {
    if (id == sender) continue;
    if (!message.payload) {
      message.payload = std::make_shared<const std::vector<std::uint8_t>>(payload.begin(), payload.end());
    }
    room = std::min(room, Queue(id, message));
  }
  return static_cast<int>(std::min<std::size_t>(room, std::numeric_limits<int>::max()));
}

// Returns the room for more messages of this size; 0 when the client lost a message.
std::size_t Exchange::Queue(int id, const message_t& message) {
  client_t& client = clients_.at(id);
  const std::size_t bytes = message.payload->size();
  const bool lostNothing = MakeRoom(client, bytes);
  client.queue.push_back(message);
  client.bytes += bytes;
  Announce(id, client);
  return lostNothing ? RoomFor(client, bytes) : 0;
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
  return message;
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
    client.bytes -= client.queue.front().payload->size();
    client.queue.pop_front();
    ++client.unreportedLosses;
    ++lost_;
  }
  return lost_ == before;
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
