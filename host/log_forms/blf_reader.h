// Reads the frames of a BLF log, the binary form of Vector's tools.
//
// The file begins with a header of at least 72 bytes; it names its own size in bytes 4 to 7 and when the
// recording began in bytes 40 to 55, as local time. Objects follow, each with this beginning, padded to four
// bytes. All numbers are little-endian.
//
// | bytes    | what                                                                              |
// |----------|-----------------------------------------------------------------------------------|
// | 0 to 3   | "LOBJ"                                                                            |
// | 4, 5     | size of the object's header: 16 for a container, 32 or 40 for what is in it       |
// | 8 to 11  | size of the object                                                                |
// | 12 to 15 | type: 10 is a container, the others are in blf_reader.cpp                         |
// | 16 to 19 | in a container's objects: 1 where the time counts 10 us, else it counts ns        |
// | 24 to 31 | in a container's objects: the time since the recording began                      |
//
// Containers are packed with zlib or not at all. What is in them is one sequence: an object may begin in one
// container and end in the next.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <streambuf>
#include <string_view>

#include "bus/can_frame.h"
#include "host/log_forms/unpacking.h"

namespace host {

constexpr std::string_view BLF_BEGINNING = "LOGG";

// The bytes that are in the containers.
class BlfContainers : public std::streambuf {
 public:
  explicit BlfContainers(std::streambuf& log) : log_(log) {}
  // Throws UsageError.
  void ReadFileHeader();
  // When the recording began, microseconds since 1970; 0: unknown.
  std::uint64_t Begin_us() const { return begin_us_; }
  // The same as underflow, but throws UsageError when the log is broken.
  bool Fill();

 protected:
  int_type underflow() override { return Fill() ? traits_type::to_int_type(*gptr()) : traits_type::eof(); }

 private:
  bool OpenContainer();
  void ReadPacked();
  std::size_t UnpackSome(std::span<char> room);
  std::size_t Unpack();

  std::streambuf& log_;
  std::uint64_t begin_us_ = 0;
  std::uint64_t packedLeft_ = 0;        // bytes of the container that have not been read
  std::uint64_t unpackedLeft_ = 0;      // bytes that its header promises
  std::unique_ptr<Unpacker> unpacker_;  // null: the container is not packed
  std::array<char, 16'384> in_{};
  std::string_view left_;  // of in_
  std::array<char, 65'536> out_{};
};

class BlfReader {
 public:
  explicit BlfReader(std::streambuf& log) : containers_(log) {}
  // The next classic data frame; empty at the end. Throws UsageError where the log is broken; the frames before
  // it have been returned.
  std::optional<bus::frame_t> Next();
  // Remote frames, error frames and CAN FD frames.
  std::uint64_t Skipped() const { return skipped_; }

 private:
  BlfContainers containers_;
  bool isBegun_ = false;
  std::uint64_t skipped_ = 0;
};

}  // namespace host
