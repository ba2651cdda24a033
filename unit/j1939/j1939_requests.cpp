#include "unit/j1939/j1939_requests.h"

#include <algorithm>
#include <array>

#include "platform/byte_order.h"

#include "src/hostlink/j1939_external.h"

namespace unit {
namespace {

using platform::LoadLe32;

struct message_kind_t {
  bool isFilter;
  reach_t reach;
};
// By message type.
constexpr std::array<message_kind_t, 7> KINDS = {{{true, reach_t::STANDARD},
                                                  {false, reach_t::STANDARD},
                                                  {false, reach_t::STANDARD},
                                                  {true, reach_t::MULTIPACKET},
                                                  {false, reach_t::MULTIPACKET},
                                                  {true, reach_t::FASTPACKET},
                                                  {false, reach_t::FASTPACKET}}};

j1939_request_t ReadFilter(std::span<const std::uint8_t> message, reach_t reach) {
  if (message.size() <= J1939_NAME_AT) return refused_request_t{"filter without a channel name"};
  const auto name = message.subspan(J1939_NAME_AT);
  if (name.size() >= J1939_NAME_SIZE) return refused_request_t{"channel name longer than 127 bytes"};
  if (LoadLe32(message, J1939_LENGTH_AT) != message.size()) return refused_request_t{"wrong length"};
  if (std::ranges::find(name, std::uint8_t{0}) != name.end())
    return refused_request_t{"zero in the channel name"};
  return filter_request_t{reach, LoadLe32(message, J1939_IDENTIFIER_AT), LoadLe32(message, J1939_MASK_AT),
                          std::string(name.begin(), name.end())};
}

j1939_request_t ReadSend(std::span<const std::uint8_t> message, reach_t reach) {
  // The display application leaves the length word of its replies at 0.
  const std::uint32_t length = LoadLe32(message, J1939_LENGTH_AT);
  if (length != 0 && length != message.size()) return refused_request_t{"wrong length"};
  if (message.size() > J1939_MESSAGE_SIZE) return refused_request_t{"longer than a message"};
  const std::size_t size = LoadLe32(message, J1939_DATA_LENGTH_AT);
  const std::size_t most = reach == reach_t::STANDARD ? 8 : LARGEST_MULTIPACKET;
  if (size > most) return refused_request_t{"more data than a frame or message holds"};
  if (size > message.size() - J1939_DATA_AT) return refused_request_t{"less data than announced"};
  return send_request_t{reach, LoadLe32(message, J1939_IDENTIFIER_AT), message.subspan(J1939_DATA_AT, size)};
}

}  // namespace

j1939_request_t ReadRequest(std::span<const std::uint8_t> message) {
  if (message.size() < J1939_DATA_AT) return refused_request_t{"shorter than its header"};
  const std::uint32_t type = LoadLe32(message, J1939_TYPE_AT);
  if (type >= KINDS.size()) return refused_request_t{"unknown type"};
  if (LoadLe32(message, J1939_PORT_AT) != CAN_PORT) return refused_request_t{"unknown port"};
  if (LoadLe32(message, J1939_IDENTIFIER_AT) > LAST_IDENTIFIER) {
    return refused_request_t{"identifier of more than 29 bits"};
  }
  const message_kind_t kind = KINDS[type];
  return kind.isFilter ? ReadFilter(message, kind.reach) : ReadSend(message, kind.reach);
}

}  // namespace unit
