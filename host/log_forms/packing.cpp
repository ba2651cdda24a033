#include "host/log_forms/packing.h"

#define ZLIB_CONST  // the input is const
#include <zlib.h>
#include <zstd.h>

#include "host/protocol/errors.h"

namespace host {
namespace {

constexpr std::size_t ROOM = 65'536;

class GzipPacker : public Packer {
 public:
  GzipPacker() {
    constexpr int GZIP_WINDOW = 15 + 16;
    constexpr int MEMORY = 8;
    if (::deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, GZIP_WINDOW, MEMORY, Z_DEFAULT_STRATEGY) !=
        Z_OK)
      throw Failure("no memory to pack the file");
  }
  ~GzipPacker() override { ::deflateEnd(&stream_); }

  void Pack(std::string_view bytes, bool isEnd, std::ostream& out) override {
    stream_.next_in = reinterpret_cast<const Bytef*>(bytes.data());
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      stream_.next_out = reinterpret_cast<Bytef*>(room_.data());
      stream_.avail_out = static_cast<uInt>(room_.size());
      ::deflate(&stream_, isEnd ? Z_FINISH : Z_NO_FLUSH);
      out.write(room_.data(), static_cast<std::streamsize>(room_.size() - stream_.avail_out));
    } while (stream_.avail_out == 0);
  }

 private:
  z_stream stream_{};
  std::array<char, ROOM> room_{};
};

class ZstdPacker : public Packer {
 public:
  // With a checksum, so that a reader knows a damaged file.
  ZstdPacker() { ::ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_checksumFlag, 1); }

  void Pack(std::string_view bytes, bool isEnd, std::ostream& out) override {
    ZSTD_inBuffer input{bytes.data(), bytes.size(), 0};
    for (bool isDone = false; !isDone;) {
      ZSTD_outBuffer output{room_.data(), room_.size(), 0};
      const std::size_t left =
          ::ZSTD_compressStream2(context_.get(), &output, &input, isEnd ? ZSTD_e_end : ZSTD_e_continue);
      if (::ZSTD_isError(left) != 0) throw Failure("no memory to pack the file");
      out.write(room_.data(), static_cast<std::streamsize>(output.pos));
      isDone = isEnd ? left == 0 : input.pos == input.size;
    }
  }

 private:
  struct free_t {
    void operator()(ZSTD_CCtx* context) const { ::ZSTD_freeCCtx(context); }
  };
  std::unique_ptr<ZSTD_CCtx, free_t> context_{::ZSTD_createCCtx()};
  std::array<char, ROOM> room_{};
};

std::unique_ptr<Packer> CreatePacker(packing_t packing) {
  if (packing == packing_t::GZIP) return std::make_unique<GzipPacker>();
  if (packing == packing_t::ZSTD) return std::make_unique<ZstdPacker>();
  return nullptr;
}

}  // namespace

packing_t PackingOf(std::string_view file) {
  if (file.ends_with(".gz")) return packing_t::GZIP;
  return file.ends_with(".zst") ? packing_t::ZSTD : packing_t::NONE;
}

std::string_view WithoutPacking(std::string_view file) {
  return PackingOf(file) == packing_t::NONE ? file : file.substr(0, file.rfind('.'));
}

PackingBuffer::PackingBuffer(packing_t packing, std::ostream& out) : out_(out), packer_(CreatePacker(packing)) {
  setp(room_.data(), room_.data() + room_.size());
}

void PackingBuffer::Flush(bool isEnd) {
  const std::string_view bytes(pbase(), static_cast<std::size_t>(pptr() - pbase()));
  if (packer_) {
    packer_->Pack(bytes, isEnd, out_);
  } else {
    out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  setp(room_.data(), room_.data() + room_.size());
}

PackingBuffer::int_type PackingBuffer::overflow(int_type letter) {
  Flush(false);
  if (traits_type::eq_int_type(letter, traits_type::eof())) return traits_type::not_eof(letter);
  return sputc(traits_type::to_char_type(letter));
}

int PackingBuffer::sync() {
  Flush(false);
  return out_.good() ? 0 : -1;
}

}  // namespace host
