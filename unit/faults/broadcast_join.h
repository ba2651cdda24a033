// Joins the frames of a broadcast of more than eight bytes (BAM of the transport protocol, SAE J1939-21).
//
// The sender announces size, number of packets and PGN in one frame (PGN 0xEC00 to all, first byte 32), and
// then sends the packets in their order, seven bytes in each behind its number (PGN 0xEB00 to all).
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace unit {

struct broadcast_t {
  std::uint8_t source = 0;
  std::vector<std::uint8_t> data;
};

// Joins the broadcasts of one PGN, one at a time for each source. Only one thread at a time may use an object.
class BroadcastJoin {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds PACKET_LIMIT{750};  // T1: longest time between two packets

  explicit BroadcastJoin(std::uint32_t pgn) : pgn_(pgn) {}

  // Takes one frame of the bus. Returns the broadcast that the frame completes. A packet out of order or too
  // late ends its broadcast; an announcement takes the place of the source's unfinished one.
  std::optional<broadcast_t> Accept(std::uint32_t identifier, std::span<const std::uint8_t> data,
                                    TimePoint now);

 private:
  struct transfer_t {
    std::vector<std::uint8_t> data;
    std::size_t size = 0;
    std::uint8_t packets = 0;
    std::uint8_t received = 0;
    TimePoint last;
  };

  void Begin(std::uint8_t source, std::span<const std::uint8_t> announcement, TimePoint now);
  std::optional<broadcast_t> AddPacket(std::uint8_t source, std::span<const std::uint8_t> packet,
                                       TimePoint now);

  const std::uint32_t pgn_;
  std::map<std::uint8_t, transfer_t> transfers_;  // by source
};

}  // namespace unit
