// The J1939 service's connection to its clients, through the notification manager: their requests come in on
// J1939_CHANNEL_NAME, the frames that their filters match go out on the channels that the filters name.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bus/can_frame.h"
#include "unit/j1939/filter_store.h"
#include "unit/j1939/kernel_transport.h"

namespace unit {

// Connect, Disconnect, AddFilter and ReceiveRequest come from one thread; the other calls from any.
class ClientLink {
 public:
  // Takes over the filters that a service which was killed left in `filterFile`.
  explicit ClientLink(const std::string& filterFile);
  ~ClientLink();
  ClientLink(const ClientLink&) = delete;
  ClientLink& operator=(const ClientLink&) = delete;

  // Connects to the notification manager and enters all filters there. False while there is no manager.
  bool Connect();
  void Disconnect();
  // False without a manager, and once CheckManager or ReceiveRequest has found that it is gone.
  bool IsConnected() const;

  // Waits for a client's request and reads it into `buffer`. Empty when the manager is gone, the wait was
  // ended, or the message is for another channel.
  std::optional<std::span<const std::uint8_t>> ReceiveRequest(std::span<char> buffer);
  // Ends the wait of ReceiveRequest.
  void WakeReceiver();
  // Ends the wait of ReceiveRequest where the manager is gone. A manager that ends sends no pulse, so that the
  // wait would never end; the manager is therefore asked for the channel's number twice a second.
  void CheckManager();

  // Enters or replaces a filter. False when there are too many.
  bool AddFilter(const filter_request_t& filter);
  std::size_t FilterCount() const;
  // Removes the file of the filters, at an orderly end of the service.
  void ForgetFilters();

  // Delivers a frame to the channel of its filter. The room that is left at the fullest subscriber, in
  // messages; negative when the frame could not be delivered; empty when no filter has its identifier.
  std::optional<int> Deliver(const bus::frame_t& frame);
  // Delivers a message of several frames to the channels of all multi-packet filters that it matches under
  // their masks. Returns to how many of them it could not be delivered.
  unsigned Deliver(const transport_message_t& message);

 private:
  struct client_connection_t;
  using ConnectionPointer = std::shared_ptr<client_connection_t>;

  ConnectionPointer Connection() const;
  std::vector<std::string> ChannelsFor(const transport_message_t& message) const;

  mutable std::mutex mutex_;  // guards the two below
  ConnectionPointer connection_;
  FilterStore filters_;

  std::atomic<bool> managerLost_{false};
};

}  // namespace unit
