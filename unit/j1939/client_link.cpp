#include "unit/j1939/client_link.h"

#include <utility>

#include "src/core/frame_layout.h"
#include "src/hostlink/j1939_external.h"
#include "unit/health/notify_link.h"

namespace unit {

// A client at the notification manager together with the filter table that delivers through it.
struct ClientLink::client_connection_t {
  explicit client_connection_t(std::unique_ptr<NM::NMClient> connected)
      : client(std::move(connected)),
        requestChannel(client->registerName(J1939_CHANNEL_NAME)),
        table(*client) {}

  std::unique_ptr<NM::NMClient> client;
  const int requestChannel;
  std::mutex mutex;  // guards table
  J1939External::ExternalStandardCAN table;
};

ClientLink::ClientLink(const std::string& filterFile) : filters_(filterFile) {}

ClientLink::~ClientLink() = default;

ClientLink::ConnectionPointer ClientLink::Connection() const {
  const std::lock_guard lock(mutex_);
  return connection_;
}

bool ClientLink::Connect() {
  std::unique_ptr<NM::NMClient> client = ConnectToManager();
  if (!client) return false;
  const auto connection = std::make_shared<client_connection_t>(std::move(client));
  const int channel = connection->requestChannel;
  if (channel < 1 || connection->client->subscribe(channel) < 0) return false;
  const std::lock_guard lock(mutex_);
  for (const auto& [identifier, filter] : filters_.All(reach_t::STANDARD)) {
    connection->table.addFilter(identifier, filter.mask, filter.channelName.c_str());
  }
  connection_ = connection;
  managerLost_ = false;
  return true;
}

void ClientLink::Disconnect() {
  const std::lock_guard lock(mutex_);
  connection_.reset();
}

bool ClientLink::IsConnected() const {
  return Connection() && !managerLost_;
}

std::optional<std::span<const std::uint8_t>> ClientLink::ReceiveRequest(std::span<char> buffer) {
  const ConnectionPointer connection = Connection();
  if (!connection) return std::nullopt;
  int channel = -1;
  const int size = connection->client->recvMsg(channel, buffer.data(), static_cast<int>(buffer.size()));
  if (size < 0) managerLost_ = true;
  if (size < 0 || channel != connection->requestChannel) return std::nullopt;
  return std::span(reinterpret_cast<const std::uint8_t*>(buffer.data()), static_cast<std::size_t>(size));
}

void ClientLink::WakeReceiver() {
  if (const ConnectionPointer connection = Connection()) connection->client->wakeReceiver();
}

void ClientLink::CheckManager() {
  const ConnectionPointer connection = Connection();
  if (!connection || managerLost_) return;
  if (connection->client->registerName(J1939_CHANNEL_NAME) == connection->requestChannel) return;
  managerLost_ = true;
  connection->client->wakeReceiver();
}

bool ClientLink::AddFilter(const filter_request_t& filter) {
  {
    const std::lock_guard lock(mutex_);
    if (!filters_.Add(filter)) return false;
  }
  const ConnectionPointer connection = Connection();
  if (filter.reach != reach_t::STANDARD || !connection) return true;
  const std::lock_guard lock(connection->mutex);
  connection->table.addFilter(filter.identifier, filter.mask, filter.channelName.c_str());
  return true;
}

std::size_t ClientLink::FilterCount() const {
  const std::lock_guard lock(mutex_);
  return filters_.Count();
}

void ClientLink::ForgetFilters() {
  const std::lock_guard lock(mutex_);
  filters_.Remove();
}

std::optional<int> ClientLink::Deliver(const bus::frame_t& frame) {
  {
    const std::lock_guard lock(mutex_);
    if (!frame.extended || !filters_.Has(frame.identifier)) return std::nullopt;
  }
  const ConnectionPointer connection = Connection();
  if (!connection) return -1;
  const CAN_packet_t2 packet{frame.identifier, frame.length, frame.data, {}};
  const std::lock_guard lock(connection->mutex);
  connection->table.CheckRxPacket(&packet);
  return connection->table.LastResult();
}

std::vector<std::string> ClientLink::ChannelsFor(const transport_message_t& message) const {
  std::vector<std::string> channels;
  const std::lock_guard lock(mutex_);
  for (const auto& [identifier, filter] : filters_.All(reach_t::MULTIPACKET)) {
    if (((identifier ^ message.identifier) & filter.mask) == 0) channels.push_back(filter.channelName);
  }
  return channels;
}

unsigned ClientLink::Deliver(const transport_message_t& message) {
  const std::vector<std::string> channels = ChannelsFor(message);
  const ConnectionPointer connection = Connection();
  if (channels.empty() || !connection) return 0;
  std::vector<char> buffer(J1939_MESSAGE_SIZE);
  J1939External::sendMultipacketMsg(message.identifier, static_cast<unsigned>(message.data.size()), CAN_PORT,
                                    message.data.data(), buffer.data());
  unsigned failed = 0;
  for (const std::string& name : channels) {
    const int channel = connection->client->registerName(name.c_str());
    if (connection->client->sendMsg(channel, buffer.data(), static_cast<int>(buffer.size())) < 0) ++failed;
  }
  return failed;
}

}  // namespace unit
