// Packs what is written, as gzip (RFC 1952) or Zstandard (RFC 8878) data.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <ostream>
#include <span>
#include <streambuf>
#include <string_view>

namespace host {

enum class packing_t : std::uint8_t { NONE, GZIP, ZSTD };

// By the ending of the file's name: ".gz", ".zst".
packing_t PackingOf(std::string_view file);
// The name without that ending.
std::string_view WithoutPacking(std::string_view file);

class Packer {
 public:
  Packer() = default;
  virtual ~Packer() = default;
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;
  // Packs all of `bytes` into `out`. After the last call with `isEnd` nothing may follow.
  virtual void Pack(std::string_view bytes, bool isEnd, std::ostream& out) = 0;
};

// What is written to it goes to `out`, packed. Finish writes the end.
class PackingBuffer : public std::streambuf {
 public:
  PackingBuffer(packing_t packing, std::ostream& out);
  void Finish() { Flush(true); }

 protected:
  int_type overflow(int_type letter) override;
  int sync() override;

 private:
  void Flush(bool isEnd);

  std::ostream& out_;
  std::unique_ptr<Packer> packer_;  // null: as it is
  std::array<char, 65'536> room_{};
};

}  // namespace host
