#include "host/log_forms/unpacking.h"

#include <algorithm>

#define ZLIB_CONST  // the input is const
#include <zlib.h>
#include <zstd.h>

#include "host/protocol/errors.h"

namespace host {
namespace {

constexpr std::string_view GZIP_BEGINNING = "\x1f\x8b";
constexpr std::string_view ZSTD_BEGINNING = "\x28\xb5\x2f\xfd";
constexpr int WINDOW_BITS = 15;
constexpr int GZIP_HEADER = 16;  // added to the window bits: the data have gzip's header

class InflateUnpacker : public Unpacker {
 public:
  InflateUnpacker(const char* form, int windowBits) : form_(form) {
    if (::inflateInit2(&stream_, windowBits) != Z_OK) throw Failure("no memory to unpack the log");
  }
  ~InflateUnpacker() override { ::inflateEnd(&stream_); }

  std::size_t Unpack(std::string_view& packed, std::span<char> out) override;
  bool IsComplete() const override { return isComplete_; }

 private:
  bool BeginNext(std::string_view& packed);

  const char* const form_;
  z_stream stream_{};
  bool isComplete_ = false;
  bool isBroken_ = false;
  bool isPast_ = false;  // behind the last gzip file
};

// gzip files may stand one after the other. gzip ignores other bytes behind them, and so does this.
bool InflateUnpacker::BeginNext(std::string_view& packed) {
  if (packed.empty()) return false;
  isPast_ = isPast_ || packed.front() != GZIP_BEGINNING.front();
  if (isPast_) packed = {};
  if (isPast_) return false;
  ::inflateReset(&stream_);
  isComplete_ = false;
  return true;
}

std::size_t InflateUnpacker::Unpack(std::string_view& packed, std::span<char> out) {
  if (isBroken_) throw UsageError(std::string("its ") + form_ + " data are broken");
  if (isComplete_ && !BeginNext(packed)) return 0;
  stream_.next_in = reinterpret_cast<const Bytef*>(packed.data());
  stream_.avail_in = static_cast<uInt>(packed.size());
  stream_.next_out = reinterpret_cast<Bytef*>(out.data());
  stream_.avail_out = static_cast<uInt>(out.size());
  const int result = ::inflate(&stream_, Z_NO_FLUSH);
  packed.remove_prefix(packed.size() - stream_.avail_in);
  isComplete_ = result == Z_STREAM_END;
  // What comes before the damage is given out first.
  isBroken_ = result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR;
  if (isBroken_ && stream_.avail_out == out.size()) return Unpack(packed, out);
  return out.size() - stream_.avail_out;
}

class ZstdUnpacker : public Unpacker {
 public:
  std::size_t Unpack(std::string_view& packed, std::span<char> out) override {
    if (isComplete_ && packed.empty()) return 0;
    // One block at a time: a damaged one takes at most the one before it along.
    ZSTD_inBuffer input{packed.data(), std::min(packed.size(), block_), 0};
    ZSTD_outBuffer output{out.data(), out.size(), 0};
    const std::size_t result = ::ZSTD_decompressStream(stream_.get(), &output, &input);
    packed.remove_prefix(input.pos);
    if (::ZSTD_isError(result) != 0) throw UsageError("its zstd data are broken");
    isComplete_ = result == 0;
    block_ = std::max<std::size_t>(result, 1);
    return output.pos;
  }
  bool IsComplete() const override { return isComplete_; }

 private:
  struct free_t {
    void operator()(ZSTD_DStream* stream) const { ::ZSTD_freeDStream(stream); }
  };
  std::unique_ptr<ZSTD_DStream, free_t> stream_{::ZSTD_createDStream()};
  std::size_t block_ = 1;  // how many bytes it wants next
  bool isComplete_ = false;
};

}  // namespace

std::unique_ptr<Unpacker> CreateGzipUnpacker() {
  return std::make_unique<InflateUnpacker>("gzip", WINDOW_BITS + GZIP_HEADER);
}

std::unique_ptr<Unpacker> CreateZlibUnpacker() {
  return std::make_unique<InflateUnpacker>("zlib", WINDOW_BITS);
}

std::unique_ptr<Unpacker> CreateZstdUnpacker() {
  return std::make_unique<ZstdUnpacker>();
}

// Reads until there are so many packed bytes, then what has arrived beside them.
bool UnpackingBuffer::ReadPacked(std::size_t least) {
  std::size_t size = left_.size();
  std::ranges::copy(left_, in_.begin());
  while (size < least && packed_.get(in_[size])) {
    const auto room = static_cast<std::streamsize>(in_.size() - ++size);
    const std::streamsize arrived = std::min(packed_.rdbuf()->in_avail(), room);
    if (arrived > 0) size += static_cast<std::size_t>(packed_.rdbuf()->sgetn(in_.data() + size, arrived));
  }
  left_ = {in_.data(), size};
  return size > 0;
}

void UnpackingBuffer::ChooseUnpacker() {
  isChosen_ = true;
  ReadPacked(ZSTD_BEGINNING.size());
  if (left_.starts_with(GZIP_BEGINNING)) unpacker_ = CreateGzipUnpacker();
  if (left_.starts_with(ZSTD_BEGINNING)) unpacker_ = CreateZstdUnpacker();
}

std::size_t UnpackingBuffer::Unpack(std::span<char> room) {
  if (unpacker_) return unpacker_->Unpack(left_, room);
  const std::size_t size = std::min(left_.size(), room.size());
  std::copy_n(left_.begin(), size, room.begin());
  left_.remove_prefix(size);
  return size;
}

// The unpacker may have found damage behind the last bytes that it gave out.
std::string UnpackingBuffer::FindEndProblem() {
  if (!unpacker_) return {};
  try {
    unpacker_->Unpack(left_, out_);
  } catch (const UsageError& error) {
    return error.what();
  }
  return unpacker_->IsComplete() ? "" : "its packed data end too early";
}

// Adds bytes to those that wait to be read. False at the end.
bool UnpackingBuffer::Fill() {
  if (!isChosen_) ChooseUnpacker();
  const std::span<char> room(egptr(), out_.data() + out_.size());
  for (std::size_t size = 0; problem_.empty();) {
    if (left_.empty() && !hasMore_ && !ReadPacked(1)) {
      problem_ = FindEndProblem();
      return false;
    }
    try {
      size = Unpack(room);
    } catch (const UsageError& error) {
      problem_ = error.what();
    }
    hasMore_ = size == room.size();
    setg(eback(), gptr(), egptr() + size);
    if (size > 0) return true;
  }
  return false;
}

std::string_view UnpackingBuffer::PeekBeginning(std::size_t size) {
  if (egptr() == nullptr) setg(out_.data(), out_.data(), out_.data());
  while (static_cast<std::size_t>(egptr() - gptr()) < size && Fill()) {
  }
  return {gptr(), std::min(size, static_cast<std::size_t>(egptr() - gptr()))};
}

UnpackingBuffer::int_type UnpackingBuffer::underflow() {
  setg(out_.data(), out_.data(), out_.data());
  return Fill() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

}  // namespace host
