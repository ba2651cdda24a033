// The requests of the J1939 service's clients, read from their messages (layout: hostlink/j1939_external.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

namespace unit {

enum class reach_t { STANDARD, MULTIPACKET, FASTPACKET };

// Frames with this identifier are to be delivered on the named channel.
struct filter_request_t {
  reach_t reach = reach_t::STANDARD;
  std::uint32_t identifier = 0;
  std::uint32_t mask = 0;
  std::string channelName;
};

// Data to be put on the bus; `data` points into the message.
struct send_request_t {
  reach_t reach = reach_t::STANDARD;
  std::uint32_t identifier = 0;
  std::span<const std::uint8_t> data;
};

// Why a message is no request; a text for a person.
struct refused_request_t {
  const char* why = "";
};

constexpr std::uint32_t CAN_PORT = 1;  // the display unit's only one
constexpr std::uint32_t LAST_IDENTIFIER = 0x1FFFFFFF;
constexpr std::size_t LARGEST_MULTIPACKET = 1785;  // SAE J1939-21: 255 packets of 7 bytes

using j1939_request_t = std::variant<filter_request_t, send_request_t, refused_request_t>;
j1939_request_t ReadRequest(std::span<const std::uint8_t> message);

}  // namespace unit
