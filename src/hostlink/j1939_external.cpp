#include "src/hostlink/j1939_external.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "platform/byte_order.h"

#include "src/core/frame_layout.h"

namespace {

std::span<std::uint8_t> BytesOf(char* message) {
  return {reinterpret_cast<std::uint8_t*>(message), J1939_MESSAGE_SIZE};
}

void WriteJ1939Header(std::span<std::uint8_t> message, j1939_type_t type, std::size_t length, unsigned port,
                      unsigned identifier) {
  platform::StoreLe32(message, J1939_TYPE_AT, type);
  platform::StoreLe32(message, J1939_LENGTH_AT, static_cast<std::uint32_t>(length));
  platform::StoreLe32(message, J1939_PORT_AT, port);
  platform::StoreLe32(message, J1939_IDENTIFIER_AT, identifier);
}

struct filter_arguments_t {
  unsigned identifier, mask, port;
};

// The name follows the fixed part without a terminating zero.
void WriteFilter(j1939_type_t type, const filter_arguments_t& filter, const std::string& channelName,
                 char* message) {
  const auto bytes = BytesOf(message);
  WriteJ1939Header(bytes, type, J1939_MESSAGE_SIZE + channelName.size(), filter.port, filter.identifier);
  platform::StoreLe32(bytes, J1939_MASK_AT, filter.mask);
  std::copy(channelName.begin(), channelName.end(), message + J1939_NAME_AT);
}

struct send_arguments_t {
  unsigned identifier, dataLength, port;
};

// Leaves the rest of the data area unchanged.
void WriteTransmission(j1939_type_t type, const send_arguments_t& request, const std::uint8_t* data,
                       char* message) {
  const auto bytes = BytesOf(message);
  WriteJ1939Header(bytes, type, J1939_MESSAGE_SIZE, request.port, request.identifier);
  platform::StoreLe32(bytes, J1939_DATA_LENGTH_AT, request.dataLength);
  const std::size_t count = std::min<std::size_t>(request.dataLength, J1939_DATA_SIZE);
  std::copy_n(data, count, bytes.begin() + J1939_DATA_AT);
}

constexpr unsigned DELIVERY_PORT = 1;

}  // namespace

void J1939External::setFilter(unsigned identifier, unsigned mask, unsigned port, const std::string& channelName,
                              char* message) {
  WriteFilter(J1939_SET_FILTER, {identifier, mask, port}, channelName, message);
}

void J1939External::setMultipacketFilter(unsigned identifier, unsigned mask, unsigned port,
                                         const std::string& channelName, char* message) {
  WriteFilter(J1939_SET_MULTIPACKET_FILTER, {identifier, mask, port}, channelName, message);
}

void J1939External::setFastpacketFilter(unsigned identifier, unsigned mask, unsigned port,
                                        const std::string& channelName, char* message) {
  WriteFilter(J1939_SET_FASTPACKET_FILTER, {identifier, mask, port}, channelName, message);
}

void J1939External::sendMsg(unsigned identifier, unsigned dataLength, unsigned port, const std::uint8_t* data,
                            char* message) {
  WriteTransmission(J1939_SEND, {identifier, dataLength, port}, data, message);
}

void J1939External::sendRawMsg(unsigned identifier, unsigned dataLength, unsigned port,
                               const std::uint8_t* data, char* message) {
  WriteTransmission(J1939_SEND_RAW, {identifier, dataLength, port}, data, message);
}

void J1939External::sendMultipacketMsg(unsigned identifier, unsigned dataLength, unsigned port,
                                       const std::uint8_t* data, char* message) {
  WriteTransmission(J1939_SEND_MULTIPACKET, {identifier, dataLength, port}, data, message);
}

void J1939External::sendFastpacketMsg(unsigned identifier, unsigned dataLength, unsigned port,
                                      const std::uint8_t* data, char* message) {
  WriteTransmission(J1939_SEND_FASTPACKET, {identifier, dataLength, port}, data, message);
}

void J1939External::ExternalStandardCAN::addFilter(unsigned identifier, unsigned mask,
                                                   const char* channelName) {
  if (channelName == nullptr) return;
  filters_[identifier] = {mask, client_.registerName(channelName), channelName};
}

int J1939External::ExternalStandardCAN::CheckRxPacket(const void* frame) {
  CAN_packet_t2 packet;
  std::memcpy(&packet, frame, sizeof packet);
  // A filter matches its exact identifier; its mask is stored and not applied.
  const auto found = filters_.lower_bound(packet.canID);
  if (found == filters_.end() || found->first != packet.canID) return 0;
  const bool hasLength = packet.dlc >= 1 && packet.dlc <= FRAME_SIZE;
  std::array<char, J1939_MESSAGE_SIZE> message{};
  sendMsg(packet.canID, hasLength ? packet.dlc : FRAME_SIZE, DELIVERY_PORT, packet.data.data(), message.data());
  std::copy(packet.data.begin(), packet.data.end(), message.begin() + J1939_DATA_AT);  // always all eight
  lastResult_ = client_.sendMsg(found->second.channel, message.data(), static_cast<int>(message.size()));
  return 0;
}
