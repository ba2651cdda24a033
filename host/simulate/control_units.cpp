#include "host/simulate/control_units.h"

#include <algorithm>
#include <span>

namespace simulate {
namespace {

constexpr std::int64_t PERIOD_MS = 1000;
constexpr std::int64_t PACKET_GAP_MS = 50;  // J1939-21 allows 50 to 200 ms

// Identifiers without the source; priority 6, or 7 for the transport protocol.
constexpr std::uint32_t DM1_ID = 0x18FECA00;
constexpr std::uint32_t ANNOUNCEMENT_ID = 0x1CECFF00;
constexpr std::uint32_t PACKET_ID = 0x1CEBFF00;
constexpr std::uint8_t BROADCAST = 32;  // the announcement's first byte

constexpr std::size_t FRAME_BYTES = 8;
constexpr std::size_t PACKET_BYTES = 7;
constexpr std::uint8_t FILL = 0xFF;

using bytes_t = std::vector<std::uint8_t>;

std::uint8_t ByteOf(std::size_t value, unsigned index) {
  return static_cast<std::uint8_t>(value >> (8 * index));
}

bus::frame_t MakeFrame(std::uint32_t identifier, const bytes_t& data) {
  bus::frame_t frame{.identifier = identifier, .length = FRAME_BYTES};
  frame.data.fill(FILL);
  std::ranges::copy(data, frame.data.begin());
  return frame;
}

// Two bits a lamp, from bit 7 in the order of code_lamp_t; 01 means lit.
std::uint8_t LampsOf(std::span<const active_code_t> codes) {
  unsigned lamps = 0;
  for (const active_code_t& code : codes) {
    if (code.lamp != code_lamp_t::NONE) lamps |= 1U << (6 - 2 * static_cast<unsigned>(code.lamp));
  }
  return static_cast<std::uint8_t>(lamps);
}

// The lamps, how they flash (not available), and four bytes a code; zeros say that there is no code.
bytes_t MakeDm1(std::span<const active_code_t> codes) {
  constexpr std::size_t HEADER_BYTES = 2;
  constexpr std::size_t CODE_BYTES = 4;
  bytes_t message = {LampsOf(codes), FILL};
  if (codes.empty()) message.resize(HEADER_BYTES + CODE_BYTES);
  for (const active_code_t& code : codes) {
    const unsigned highBits = code.spn >> 16 << 5;
    message.insert(message.end(), {ByteOf(code.spn, 0), ByteOf(code.spn, 1),
                                   static_cast<std::uint8_t>(highBits | code.fmi), code.count});
  }
  return message;
}

std::deque<bus::frame_t> MakeBroadcast(std::uint8_t source, const bytes_t& message) {
  const std::size_t packets = (message.size() + PACKET_BYTES - 1) / PACKET_BYTES;
  std::deque<bus::frame_t> frames = {
      MakeFrame(ANNOUNCEMENT_ID | source, {BROADCAST, ByteOf(message.size(), 0), ByteOf(message.size(), 1),
                                           ByteOf(packets, 0), FILL, ByteOf(DM1_ID, 1), ByteOf(DM1_ID, 2), 0})};
  for (std::size_t number = 1; number <= packets; ++number) {
    const std::size_t begin = (number - 1) * PACKET_BYTES;
    bus::frame_t packet = MakeFrame(PACKET_ID | source, {ByteOf(number, 0)});
    std::copy_n(&message[begin], std::min(PACKET_BYTES, message.size() - begin), &packet.data[1]);
    frames.push_back(packet);
  }
  return frames;
}

std::deque<bus::frame_t> MakeFrames(std::uint8_t source, std::span<const active_code_t> codes) {
  const bytes_t message = MakeDm1(codes);
  if (message.size() > FRAME_BYTES) return MakeBroadcast(source, message);
  return {MakeFrame(DM1_ID | source, message)};
}

}  // namespace

void ControlUnits::SetCode(std::uint8_t source, const active_code_t& code) {
  control_unit_t& unit = units_[source];
  ClearCode(source, code.spn, code.fmi);
  if (unit.codes.size() < MOST_CODES) unit.codes.push_back(code);
}

void ControlUnits::ClearCode(std::uint8_t source, std::uint32_t spn, std::uint8_t fmi) {
  const auto found = units_.find(source);
  if (found == units_.end()) return;
  std::erase_if(found->second.codes,
                [&](const active_code_t& code) { return code.spn == spn && code.fmi == fmi; });
  found->second.changed = true;
}

message_frames_t ControlUnits::Step(std::int64_t now_ms) {
  message_frames_t due;
  for (auto& [source, unit] : units_) {
    if (unit.frames.empty() && (unit.changed || now_ms >= unit.next_ms)) {
      unit.frames = MakeFrames(source, unit.codes);
      unit.changed = false;
      unit.next_ms = now_ms + PERIOD_MS;
      unit.nextFrame_ms = now_ms;
    }
    if (unit.frames.empty() || now_ms < unit.nextFrame_ms) continue;
    due.push_back(unit.frames.front());
    unit.frames.pop_front();
    unit.nextFrame_ms = now_ms + PACKET_GAP_MS;
  }
  return due;
}

}  // namespace simulate
