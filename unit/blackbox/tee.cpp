#include "unit/blackbox/tee.h"

#include <mutex>
#include <streambuf>
#include <utility>

#include "unit/blackbox/line_cutter.h"

namespace unit {

// Has no put area, so that every write of every thread goes through xsputn or overflow.
class Tee::Buffer : public std::streambuf {
 public:
  Buffer(std::streambuf& original, std::string name, RollingLog& log)
      : original_(original), name_(std::move(name)), log_(log) {}

  std::streambuf& Original() { return original_; }

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    const std::lock_guard lock(mutex_);
    lines_.Feed({text, static_cast<std::size_t>(count)});
    for (std::string line; lines_.Next(line);) log_.WriteStamped(name_, line);
    return original_.sputn(text, count);
  }

  int_type overflow(int_type character) override {
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    const char c = traits_type::to_char_type(character);
    return xsputn(&c, 1) == 1 ? character : traits_type::eof();
  }

  int sync() override { return original_.pubsync(); }

 private:
  std::streambuf& original_;
  const std::string name_;
  RollingLog& log_;
  std::mutex mutex_;  // guards lines_, and keeps the bytes of one write together
  LineCutter lines_;
};

Tee::Tee(std::ostream& stream, std::string name, RollingLog& log)
    : stream_(stream), buffer_(std::make_unique<Buffer>(*stream.rdbuf(), std::move(name), log)) {
  stream_.rdbuf(buffer_.get());
}

Tee::~Tee() {
  stream_.rdbuf(&buffer_->Original());
}

}  // namespace unit
