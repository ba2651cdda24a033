// Reads the requests of the J1939 service's clients (layout: src/hostlink/j1939_external.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

namespace unit {

enum class reach_t { STANDARD, MULTIPACKET, FASTPACKET };

// Requests the delivery of frames with this identifier on the named channel.
struct filter_request_t {
  reach_t reach = reach_t::STANDARD;
  std::uint32_t identifier = 0;
  std::uint32_t mask = 0;
  std::string channelName;
};

// Requests to send data on the bus; `data` points into the message.
struct send_request_t {
  reach_t reach = reach_t::STANDARD;
  std::uint32_t identifier = 0;
  std::span<const std::uint8_t> data;
};

// Why a message is refused, for the user.
struct refused_request_t {
  const char* why = "";
};

constexpr std::uint32_t CAN_PORT = 1;  // the display unit has only this one
constexpr std::uint32_t LAST_IDENTIFIER = 0x1FFFFFFF;
constexpr std::size_t LARGEST_MULTIPACKET = 1785;  // SAE J1939-21: 255 packets of 7 bytes

using j1939_request_t = std::variant<filter_request_t, send_request_t, refused_request_t>;
j1939_request_t ReadRequest(std::span<const std::uint8_t> message);

}  // namespace unit
