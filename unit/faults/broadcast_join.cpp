#include "unit/faults/broadcast_join.h"

#include <utility>

#include "platform/byte_order.h"

namespace unit {
namespace {

constexpr std::uint32_t CONNECTION_TO_ALL = 0xECFF;  // PGN and destination: bits 8 to 25 of the identifier
constexpr std::uint32_t PACKET_TO_ALL = 0xEBFF;
constexpr std::uint8_t ANNOUNCEMENT = 32;
constexpr std::size_t FRAME_BYTES = 8;
constexpr std::size_t PACKET_BYTES = 7;
constexpr std::size_t SIZE_AT = 1, PACKETS_AT = 3, PGN_AT = 5;

}  // namespace

std::optional<broadcast_t> BroadcastJoin::Accept(std::uint32_t identifier, std::span<const std::uint8_t> data,
                                                 TimePoint now) {
  const std::uint32_t kind = identifier >> 8 & 0x3FFFFU;
  if ((kind != CONNECTION_TO_ALL && kind != PACKET_TO_ALL) || data.size() != FRAME_BYTES) return std::nullopt;
  const auto source = static_cast<std::uint8_t>(identifier);
  if (kind == PACKET_TO_ALL) return AddPacket(source, data, now);
  if (data[0] == ANNOUNCEMENT) Begin(source, data, now);
  return std::nullopt;
}

void BroadcastJoin::Begin(std::uint8_t source, std::span<const std::uint8_t> announcement, TimePoint now) {
  transfers_.erase(source);
  const std::size_t size = platform::LoadLe16(announcement, SIZE_AT);
  const std::uint8_t packets = announcement[PACKETS_AT];
  const std::uint32_t pgn = platform::LoadLe32(announcement, PGN_AT - 1) >> 8U;
  if (pgn != pgn_ || size <= FRAME_BYTES || packets != (size + PACKET_BYTES - 1) / PACKET_BYTES) return;
  transfers_[source] = {{}, size, packets, 0, now};
}

std::optional<broadcast_t> BroadcastJoin::AddPacket(std::uint8_t source, std::span<const std::uint8_t> packet,
                                                    TimePoint now) {
  const auto found = transfers_.find(source);
  if (found == transfers_.end()) return std::nullopt;
  transfer_t& transfer = found->second;
  if (packet[0] != transfer.received + 1 || now - transfer.last > PACKET_LIMIT) {
    transfers_.erase(found);
    return std::nullopt;
  }
  transfer.data.insert(transfer.data.end(), packet.begin() + 1, packet.end());
  transfer.last = now;
  if (++transfer.received < transfer.packets) return std::nullopt;
  transfer.data.resize(transfer.size);
  broadcast_t whole{source, std::move(transfer.data)};
  transfers_.erase(found);
  return whole;
}

}  // namespace unit
