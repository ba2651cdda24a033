#include "unit/j1939/j1939_requests.h"

#include <algorithm>
#include <array>

#include "platform/byte_order.h"

#include "src/hostlink/j1939_external.h"

namespace unit {
namespace {

using platform::LoadLe32;

struct Kind_t {
  bool isFilter;
  Reach reach;
};
// By message type.
constexpr std::array<Kind_t, 7> KINDS = {{{true, Reach::kStandard},
                                          {false, Reach::kStandard},
                                          {false, Reach::kStandard},
                                          {true, Reach::kMultipacket},
                                          {false, Reach::kMultipacket},
                                          {true, Reach::kFastpacket},
                                          {false, Reach::kFastpacket}}};

j1939_request_t ReadFilter(std::span<const std::uint8_t> message, Reach reach) {
  if (message.size() <= J1939_NAME_AT) return RefusedRequest_t{"filter without a channel name"};
  const auto name = message.subspan(J1939_NAME_AT);
  if (name.size() >= J1939_NAME_SIZE) return RefusedRequest_t{"channel name longer than 127 bytes"};
  if (LoadLe32(message, J1939_LENGTH_AT) != message.size()) return RefusedRequest_t{"wrong length"};
  if (std::ranges::find(name, std::uint8_t{0}) != name.end())
    return RefusedRequest_t{"zero in the channel name"};
  return FilterRequest_t{reach, LoadLe32(message, J1939_IDENTIFIER_AT), LoadLe32(message, J1939_MASK_AT),
                         std::string(name.begin(), name.end())};
}

j1939_request_t ReadSend(std::span<const std::uint8_t> message, Reach reach) {
  // The display leaves the length word of its replies at 0.
  const std::uint32_t length = LoadLe32(message, J1939_LENGTH_AT);
  if (length != 0 && length != message.size()) return RefusedRequest_t{"wrong length"};
  if (message.size() > J1939_MESSAGE_SIZE) return RefusedRequest_t{"longer than a message"};
  const std::size_t size = LoadLe32(message, J1939_DATA_LENGTH_AT);
  const std::size_t most = reach == Reach::kStandard ? 8 : LARGEST_MULTIPACKET;
  if (size > most) return RefusedRequest_t{"more data than a frame or message holds"};
  if (size > message.size() - J1939_DATA_AT) return RefusedRequest_t{"less data than announced"};
  return SendRequest_t{reach, LoadLe32(message, J1939_IDENTIFIER_AT), message.subspan(J1939_DATA_AT, size)};
}

}  // namespace

j1939_request_t ReadRequest(std::span<const std::uint8_t> message) {
  if (message.size() < J1939_DATA_AT) return RefusedRequest_t{"shorter than its header"};
  const std::uint32_t type = LoadLe32(message, J1939_TYPE_AT);
  if (type >= KINDS.size()) return RefusedRequest_t{"unknown type"};
  if (LoadLe32(message, J1939_PORT_AT) != CAN_PORT) return RefusedRequest_t{"unknown port"};
  if (LoadLe32(message, J1939_IDENTIFIER_AT) > LAST_IDENTIFIER) {
    return RefusedRequest_t{"identifier of more than 29 bits"};
  }
  const Kind_t kind = KINDS[type];
  return kind.isFilter ? ReadFilter(message, kind.reach) : ReadSend(message, kind.reach);
}

}  // namespace unit
