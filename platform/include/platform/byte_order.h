// Loading and storing integers and floats of a wire layout in little-endian or big-endian byte order.
//
// Offsets are relative to the span. The caller makes sure that the value lies within the span (asserted in
// debug builds). Any thread.
#pragma once

#include <bit>
#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace platform {

// The bytes of a value, the lowest first. Without a loop, so that compilers make one load or store of them.
template <std::unsigned_integral T, std::size_t... BYTE>
constexpr T JoinBytes(std::index_sequence<BYTE...> /*bytes*/, const auto& byteOf) {
  return static_cast<T>((... | static_cast<T>(static_cast<T>(byteOf(BYTE)) << (8U * BYTE))));
}
template <std::unsigned_integral T, std::size_t... BYTE>
constexpr void SplitBytes(std::index_sequence<BYTE...> /*bytes*/, T value, const auto& byteOf) {
  ((byteOf(BYTE) = static_cast<std::uint8_t>(value >> (8U * BYTE))), ...);
}

template <std::unsigned_integral T>
constexpr T LoadLittleEndian(std::span<const std::uint8_t> bytes, std::size_t offset) {
  assert(offset + sizeof(T) <= bytes.size());
  return JoinBytes<T>(std::make_index_sequence<sizeof(T)>(), [&](std::size_t i) { return bytes[offset + i]; });
}

template <std::unsigned_integral T>
constexpr T LoadBigEndian(std::span<const std::uint8_t> bytes, std::size_t offset) {
  assert(offset + sizeof(T) <= bytes.size());
  return JoinBytes<T>(std::make_index_sequence<sizeof(T)>(),
                      [&](std::size_t i) { return bytes[offset + sizeof(T) - 1 - i]; });
}

template <std::unsigned_integral T>
constexpr void StoreLittleEndian(std::span<std::uint8_t> bytes, std::size_t offset, T value) {
  assert(offset + sizeof(T) <= bytes.size());
  SplitBytes(std::make_index_sequence<sizeof(T)>(), value,
             [&](std::size_t i) -> std::uint8_t& { return bytes[offset + i]; });
}

template <std::unsigned_integral T>
constexpr void StoreBigEndian(std::span<std::uint8_t> bytes, std::size_t offset, T value) {
  assert(offset + sizeof(T) <= bytes.size());
  SplitBytes(std::make_index_sequence<sizeof(T)>(), value,
             [&](std::size_t i) -> std::uint8_t& { return bytes[offset + sizeof(T) - 1 - i]; });
}

constexpr std::uint16_t LoadLe16(std::span<const std::uint8_t> b, std::size_t at) {
  return LoadLittleEndian<std::uint16_t>(b, at);
}
constexpr std::uint32_t LoadLe32(std::span<const std::uint8_t> b, std::size_t at) {
  return LoadLittleEndian<std::uint32_t>(b, at);
}
constexpr std::uint64_t LoadLe64(std::span<const std::uint8_t> b, std::size_t at) {
  return LoadLittleEndian<std::uint64_t>(b, at);
}
constexpr std::uint16_t LoadBe16(std::span<const std::uint8_t> b, std::size_t at) {
  return LoadBigEndian<std::uint16_t>(b, at);
}
constexpr std::uint32_t LoadBe32(std::span<const std::uint8_t> b, std::size_t at) {
  return LoadBigEndian<std::uint32_t>(b, at);
}

constexpr void StoreLe16(std::span<std::uint8_t> b, std::size_t at, std::uint16_t v) {
  StoreLittleEndian(b, at, v);
}
constexpr void StoreLe32(std::span<std::uint8_t> b, std::size_t at, std::uint32_t v) {
  StoreLittleEndian(b, at, v);
}
constexpr void StoreLe64(std::span<std::uint8_t> b, std::size_t at, std::uint64_t v) {
  StoreLittleEndian(b, at, v);
}
constexpr void StoreBe16(std::span<std::uint8_t> b, std::size_t at, std::uint16_t v) {
  StoreBigEndian(b, at, v);
}
constexpr void StoreBe32(std::span<std::uint8_t> b, std::size_t at, std::uint32_t v) {
  StoreBigEndian(b, at, v);
}

// IEEE-754 single precision, most significant byte first (the host's floats).
constexpr float LoadBeFloat(std::span<const std::uint8_t> b, std::size_t at) {
  return std::bit_cast<float>(LoadBe32(b, at));
}
constexpr void StoreBeFloat(std::span<std::uint8_t> b, std::size_t at, float v) {
  StoreBe32(b, at, std::bit_cast<std::uint32_t>(v));
}
// IEEE-754 single precision, least significant byte first (the services' messages).
constexpr float LoadLeFloat(std::span<const std::uint8_t> b, std::size_t at) {
  return std::bit_cast<float>(LoadLe32(b, at));
}
constexpr void StoreLeFloat(std::span<std::uint8_t> b, std::size_t at, float v) {
  StoreLe32(b, at, std::bit_cast<std::uint32_t>(v));
}
// IEEE-754 double precision, least significant byte first.
constexpr double LoadLeDouble(std::span<const std::uint8_t> b, std::size_t at) {
  return std::bit_cast<double>(LoadLe64(b, at));
}
constexpr void StoreLeDouble(std::span<std::uint8_t> b, std::size_t at, double v) {
  StoreLe64(b, at, std::bit_cast<std::uint64_t>(v));
}

}  // namespace platform
