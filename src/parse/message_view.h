// The host message as its commands read it: views on the 256-byte block that know where it ends.
//
// A host's length may point past the block. What lies there reads as 0 and is never accessed.
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
  // What stands from `at` on.
  MessageView From(std::size_t at) const {
    return MessageView(at < Size() ? bytes_.subspan(at) : std::span<const std::uint8_t>());
  }
  // The first `count` bytes, or as many as there are.
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
// | 0, 1 | subLen, big-endian: the bytes that follow these two              |
// | 2    | an index that the flash message's diagnostics print; else unused |
// | 3    | field number                                                     |
// | 4 …  | the text, subLen - 2 bytes, meant to be UTF-8                    |
struct SubCmd_t {
  static constexpr std::size_t LENGTH_SIZE = 2;
  static constexpr std::size_t TEXT_AT = 4;

  MessageView bytes;

  unsigned SubLen() const { return bytes.Be16(0); }
  std::uint8_t Index() const { return bytes.Byte(2); }
  std::uint8_t FieldId() const { return bytes.Byte(3); }
  std::uint8_t FirstOctet() const { return bytes.Byte(TEXT_AT); }
  // Whether the block holds all that subLen announces.
  bool IsWhole() const { return bytes.Holds(LENGTH_SIZE, SubLen()); }
  std::string Text() const {
    const auto text = bytes.From(TEXT_AT).First(SubLen() < 2 ? 0 : SubLen() - 2);
    return {text.begin(), text.end()};
  }
};

// The payload of the text command: mainLen (bytes 0 and 1, big-endian), then that many bytes of SubCmd_t back
// to back.
struct MainCmd_t {
  static constexpr std::size_t LENGTH_SIZE = 2;

  MessageView bytes;

  unsigned MainLen() const { return bytes.Be16(0); }
  // The text sub-command `offset` bytes behind the length; empty behind the block's end.
  SubCmd_t SubCommandAt(std::size_t offset) const { return {bytes.From(LENGTH_SIZE + offset)}; }
};
