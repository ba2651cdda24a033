// Reads gzip (RFC 1952) and Zstandard (RFC 8878) data unpacked. The memory is bounded, whatever the data say.
#pragma once

#include <array>
#include <cstddef>
#include <istream>
#include <memory>
#include <span>
#include <streambuf>
#include <string>
#include <string_view>

namespace host {

class Unpacker {
 public:
  Unpacker() = default;
  virtual ~Unpacker() = default;
  Unpacker(const Unpacker&) = delete;
  Unpacker& operator=(const Unpacker&) = delete;
  // Unpacks from the beginning of `packed`, which it shortens by what it has used. Returns the number of bytes
  // in `out`. Throws UsageError when the data are broken.
  virtual std::size_t Unpack(std::string_view& packed, std::span<char> out) = 0;
  // Whether nothing is missing when the packed data end here.
  virtual bool IsComplete() const = 0;
};

std::unique_ptr<Unpacker> CreateGzipUnpacker();
std::unique_ptr<Unpacker> CreateZlibUnpacker();  // RFC 1950
std::unique_ptr<Unpacker> CreateZstdUnpacker();

// A stream's bytes, unpacked where they begin as packed data do. It reads no further than to what has arrived,
// so that a live log on a pipe is not held up.
class UnpackingBuffer : public std::streambuf {
 public:
  explicit UnpackingBuffer(std::istream& packed) : packed_(packed) {}
  // The first bytes, fewer only at the end of the data. Call it before anything is read.
  std::string_view PeekBeginning(std::size_t size);
  // Why the data ended early; empty where they did not.
  const std::string& Problem() const { return problem_; }

 protected:
  int_type underflow() override;

 private:
  bool ReadPacked(std::size_t least);
  void ChooseUnpacker();
  std::size_t Unpack(std::span<char> room);
  std::string FindEndProblem();
  bool Fill();

  std::istream& packed_;
  std::unique_ptr<Unpacker> unpacker_;  // null: the data are not packed
  bool isChosen_ = false;
  bool hasMore_ = false;  // the unpacker filled all of its room
  std::array<char, 16'384> in_{};
  std::string_view left_;  // of in_
  std::array<char, 65'536> out_{};
  std::string problem_;
};

}  // namespace host
