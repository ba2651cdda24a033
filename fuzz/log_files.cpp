// Fuzzes packed and binary logs. What a reader finds does not depend on the pieces in which the bytes arrive,
// every frame is one that a bus can carry, and written in any form and read again the frames are the same. The
// first byte of an input says what follows: a whole log, or what is in the container of a BLF log, so that
// broken objects are reached behind whole headers.
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <sstream>

#include "platform/byte_order.h"

#include "fuzz/fuzz_input.h"
#include "host/log/log_reader.h"
#include "host/log_forms/log_writer.h"
#include "host/protocol/errors.h"

namespace {

using fuzz::Require;

struct read_log_t {
  std::vector<bus::frame_t> frames;
  std::uint64_t skipped = 0;
  std::string problem;
};

bool IsSame(const bus::frame_t& one, const bus::frame_t& other) {
  return one.identifier == other.identifier && one.extended == other.extended && one.length == other.length &&
         one.data == other.data && one.time_us == other.time_us;
}

read_log_t ReadLog(std::istream& in) {
  read_log_t log;
  host::LogReader reader(in);
  try {
    while (const auto frame = reader.Next()) log.frames.push_back(*frame);
  } catch (const host::UsageError& error) {
    log.problem = error.what();
  }
  log.skipped = reader.Skipped();
  return log;
}

read_log_t ReadLog(const std::string& bytes) {
  std::istringstream in(bytes);
  return ReadLog(in);
}

// Gives one byte at a time.
class Trickle : public std::streambuf {
 public:
  explicit Trickle(const std::string& bytes) : bytes_(bytes) {}

 protected:
  int_type underflow() override {
    if (at_ == bytes_.size()) return traits_type::eof();
    letter_ = bytes_[at_++];
    setg(&letter_, &letter_, &letter_ + 1);
    return traits_type::to_int_type(letter_);
  }

 private:
  const std::string& bytes_;
  std::size_t at_ = 0;
  char letter_ = 0;
};

void CheckWriting(std::vector<bus::frame_t> frames) {
  constexpr std::uint64_t MOST_US = 900'000'000'000'000;  // 28 years; a BLF log counts up to 31
  constexpr std::uint64_t LEAST_US = 1'000'000'000'000;
  for (bus::frame_t& frame : frames) frame.time_us = LEAST_US + frame.time_us % MOST_US;
  for (const host::log_form_t& form : host::LogForms()) {
    std::stringstream file;
    const auto writer = form.create(file);
    for (const bus::frame_t& frame : frames) writer->Write(frame);
    if (!frames.empty()) writer->Finish();
    const read_log_t again = ReadLog(file.str());
    Require(again.problem.empty() && again.frames.size() == frames.size());
    const bool isExact = form.name == "candump" || form.name == "csv";
    const std::uint64_t begin_us = frames.empty() ? 0 : frames.front().time_us / 1'000 * 1'000;
    for (std::size_t i = 0; i < frames.size(); ++i) {
      bus::frame_t wanted = frames[i];
      if (!isExact) wanted.time_us = std::max(wanted.time_us, begin_us);
      if (form.name == "asc") wanted.time_us -= begin_us;
      Require(IsSame(again.frames[i], wanted));
    }
  }
}

std::string InContainer(const std::string& content) {
  std::array<std::uint8_t, 176> headers{'L', 'O', 'G', 'G', 144};
  platform::StoreLe16(headers, 40, 2026);
  platform::StoreLe16(headers, 42, 1);
  platform::StoreLe16(headers, 46, 1);
  std::ranges::copy(std::string_view("LOBJ"), headers.begin() + 144);
  platform::StoreLe16(headers, 148, 16);
  platform::StoreLe32(headers, 152, static_cast<std::uint32_t>(content.size() + 32));
  platform::StoreLe32(headers, 156, 10);
  return std::string(headers.begin(), headers.end()) + content;
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  ::setenv("TZ", "UTC", 1);
  InputReader reader(input);
  const bool isContent = reader.TakeByte() % 2 == 1;
  const std::string text = TextOf(reader.Take(input.size()));
  const std::string bytes = isContent ? InContainer(text) : text;

  const read_log_t whole = ReadLog(bytes);
  for (const bus::frame_t& frame : whole.frames)
    Require(frame.length <= 8 && frame.identifier <= (frame.extended ? 0x1FFFFFFFU : 0x7FFU));
  Trickle trickle(bytes);
  std::istream slow(&trickle);
  const read_log_t pieces = ReadLog(slow);
  Require(whole.problem == pieces.problem);
  if (!whole.problem.empty() && bytes.starts_with("\x28\xb5\x2f\xfd")) {
    // A damaged block of zstd takes the one before it along when both arrive together.
    const std::size_t size = std::min(whole.frames.size(), pieces.frames.size());
    Require(std::equal(whole.frames.begin(), whole.frames.begin() + static_cast<std::ptrdiff_t>(size),
                       pieces.frames.begin(), IsSame));
  } else {
    Require(std::ranges::equal(whole.frames, pieces.frames, IsSame) && whole.skipped == pieces.skipped);
  }
  CheckWriting(whole.frames);
}
