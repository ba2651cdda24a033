// The CAN frames between the host load computer and the display, and how a message is cut into them.
//
// The display application, the display unit's services and the host simulator share this definition. All frames
// use the proprietary PGN 0xFF00 (SAE J1939-21, proprietary B) with priority 6. The host's source address is
// 0xD0, the display's 0xD2.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// One CAN frame in the display's memory.
struct CAN_packet_t2 {
  std::uint32_t canID = 0;  // 29-bit extended identifier
  std::uint8_t dlc = 0;     // data length code; 0 in frames that the J1939 service delivers
  std::array<std::uint8_t, 8> data{};
  std::array<std::uint8_t, 3> cpkt_flags{};
};
static_assert(sizeof(CAN_packet_t2) == 16);

constexpr std::uint32_t HOST_FRAME_ID = 0x18FF00D0;     // host to display: every command
constexpr std::uint32_t DISPLAY_FRAME_ID = 0x18FF00D2;  // display to host: every reply and key report

// First frame of a message: byte 0 is 0, byte 1 the number of frames, bytes 2 to 7 are message bytes 0 to 5.
// Frame k (from 1): byte 0 is k, bytes 1 to 7 are the next seven message bytes. The last frame is padded.
constexpr std::size_t FRAME_SIZE = 8;
constexpr std::size_t FIRST_FRAME_ROOM = 6;
constexpr std::size_t LATER_FRAME_ROOM = 7;
constexpr std::uint8_t FRAME_PADDING = 0xFF;

// Number of bytes that a message of `frames` frames (1 to 255) carries.
constexpr std::size_t MessageRoom(std::size_t frames) {
  return FIRST_FRAME_ROOM + LATER_FRAME_ROOM * (frames - 1);
}

// The receiver keeps a message in a block of 256 bytes. 36 frames (251 bytes) are the most that fit.
constexpr std::size_t MAX_MESSAGE_SIZE = 256;
constexpr std::size_t MAX_MESSAGE_FRAMES = 36;
static_assert(MessageRoom(MAX_MESSAGE_FRAMES) <= MAX_MESSAGE_SIZE);
static_assert(MessageRoom(MAX_MESSAGE_FRAMES + 1) > MAX_MESSAGE_SIZE);

// One host message: byte 0 is the command number, the payload follows. The block carries no length; each
// command defines the length of its payload.
struct DecapData_t {
  std::array<std::uint8_t, MAX_MESSAGE_SIZE> bytes{};
};
static_assert(sizeof(DecapData_t) == MAX_MESSAGE_SIZE);
