// Bounds-checked views of a host message, from which the command handlers read.
//
// A length field of the host may point past the end of the 256-byte block. Bytes beyond the end read as 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/byte_order.h"

class MessageView {
 public:
  MessageView() = default;
  explicit MessageView(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t Size() const { return bytes_.size(); }
  bool Holds(std::size_t at, std::size_t count) const { return at <= Size() && count <= Size() - at; }
  std::uint8_t Byte(std::size_t at) const { return Holds(at, 1) ? bytes_[at] : std::uint8_t{0}; }
  std::uint16_t Be16(std::size_t at) const {
    return Holds(at, 2) ? platform::LoadBe16(bytes_, at) : std::uint16_t{0};
  }
  float BeFloat(std::size_t at) const { return Holds(at, 4) ? platform::LoadBeFloat(bytes_, at) : 0.0F; }
  // The bytes from `at` to the end.
  MessageView From(std::size_t at) const {
    return MessageView(at < Size() ? bytes_.subspan(at) : std::span<const std::uint8_t>());
  }
  // The first `count` bytes, or all of them when there are fewer.
  std::span<const std::uint8_t> First(std::size_t count) const {
    return bytes_.first(count < Size() ? count : Size());
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

// One text for one field:
//
// | byte | meaning                                                          |
// |------|------------------------------------------------------------------|
// | 0, 1 | subLen, big-endian: number of bytes after these two              |
// | 2    | index; printed in reports about the flash message, else not used |
// | 3    | field number                                                     |
// | 4 …  | text, subLen - 2 bytes, UTF-8 (not checked)                      |
struct SubCmd_t {
  static constexpr std::size_t LENGTH_SIZE = 2;
  static constexpr std::size_t TEXT_AT = 4;

  MessageView bytes;

  unsigned SubLen() const { return bytes.Be16(0); }
  std::uint8_t Index() const { return bytes.Byte(2); }
  std::uint8_t FieldId() const { return bytes.Byte(3); }
  std::uint8_t FirstOctet() const { return bytes.Byte(TEXT_AT); }
  // Whether the message block holds the subLen bytes.
  bool IsWhole() const { return bytes.Holds(LENGTH_SIZE, SubLen()); }
  std::string Text() const {
    const auto text = bytes.From(TEXT_AT).First(SubLen() < 2 ? 0 : SubLen() - 2);
    return {text.begin(), text.end()};
  }
};

// The payload of the text command: mainLen (bytes 0 and 1, big-endian), then mainLen bytes that hold one
// SubCmd_t after another.
struct MainCmd_t {
  static constexpr std::size_t LENGTH_SIZE = 2;

  MessageView bytes;

  unsigned MainLen() const { return bytes.Be16(0); }
  // The sub-command that starts `offset` bytes after the length; empty when that is past the end of the block.
  SubCmd_t SubCommandAt(std::size_t offset) const { return {bytes.From(LENGTH_SIZE + offset)}; }
};
