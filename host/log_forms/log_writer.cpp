#include "host/log_forms/log_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#define ZLIB_CONST  // the input is const
#include <zlib.h>

#include "platform/byte_order.h"

#include "bus/log_lines.h"
#include "bus/text_fields.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

constexpr std::uint64_t US_PER_MS = 1'000;
constexpr std::uint64_t US_PER_SECOND = 1'000'000;

template <class... Values>
std::string Printed(const char* format, Values... values) {
  std::array<char, 128> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), format, values...));
  return text.data();
}

std::tm LocalTime(std::uint64_t time_us) {
  const auto seconds = static_cast<std::time_t>(time_us / US_PER_SECOND);
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return local;
}

// A form whose times count from the beginning of the log, which its heading names to the millisecond.
class TimedWriter : public LogWriter {
 public:
  explicit TimedWriter(std::ostream& out) : out_(out) {}
  void Write(const bus::frame_t& frame) final {
    if (!begin_us_) {
      begin_us_ = frame.time_us - frame.time_us % US_PER_MS;
      WriteHeading(*begin_us_);
    }
    // A frame before the first one has its time.
    WriteFrame(frame, frame.time_us - std::min(frame.time_us, *begin_us_));
  }

 protected:
  virtual void WriteHeading(std::uint64_t begin_us) = 0;
  virtual void WriteFrame(const bus::frame_t& frame, std::uint64_t time_us) = 0;
  std::ostream& Out() { return out_; }

 private:
  std::ostream& out_;
  std::optional<std::uint64_t> begin_us_;
};

std::string SpacedHex(const bus::frame_t& frame) {
  std::string text;
  for (const std::uint8_t byte : frame.Bytes()) text += Printed(" %02X", static_cast<unsigned>(byte));
  return text;
}

class CandumpWriter : public LogWriter {
 public:
  explicit CandumpWriter(std::ostream& out) : out_(out) {}
  void Write(const bus::frame_t& frame) override { out_ << bus::FormatLogLine(frame, "can0") << '\n'; }

 private:
  std::ostream& out_;
};

class CsvWriter : public LogWriter {
 public:
  explicit CsvWriter(std::ostream& out) : out_(out) {
    out_ << "timestamp,arbitration_id,extended,remote,error,dlc,data\n";
  }
  void Write(const bus::frame_t& frame) override {
    out_ << bus::FormatStamp(frame.time_us) << Printed(",0x%x", frame.identifier) << ','
         << (frame.extended ? 1 : 0) << ",0,0," << int{frame.length} << ',' << Base64(frame) << '\n';
  }

 private:
  // RFC 4648, section 4.
  static std::string Base64(const bus::frame_t& frame) {
    constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < frame.length; at += 3) {
      std::uint32_t bits = 0;
      for (std::size_t i = at; i < at + 3; ++i) bits = bits << 8U | (i < frame.length ? frame.data[i] : 0U);
      const std::size_t digits = std::min<std::size_t>(frame.length - at, 3) + 1;
      for (unsigned digit = 0; digit < 4; ++digit)
        text += digit < digits ? ALPHABET[bits >> (18U - 6U * digit) & 0x3FU] : '=';
    }
    return text;
  }

  std::ostream& out_;
};

class AscWriter : public TimedWriter {
 public:
  using TimedWriter::TimedWriter;

 protected:
  void WriteHeading(std::uint64_t begin_us) override {
    const std::tm local = LocalTime(begin_us);
    std::array<char, 64> day{};
    static_cast<void>(std::strftime(day.data(), day.size(), "%a %b %d %I:%M:%S", &local));
    const auto ms = static_cast<unsigned>(begin_us % US_PER_SECOND / US_PER_MS);
    Out() << "date " << day.data()
          << Printed(".%03u %s %d", ms, local.tm_hour < 12 ? "am" : "pm", local.tm_year + 1900)
          << "\nbase hex  timestamps absolute\ninternal events logged\n";
  }
  void WriteFrame(const bus::frame_t& frame, std::uint64_t time_us) override {
    const std::string identifier = Printed(frame.extended ? "%Xx" : "%X", frame.identifier);
    Out() << bus::FormatStamp(time_us) << Printed(" 1  %-15s Rx   d %d", identifier.c_str(), frame.length)
          << SpacedHex(frame) << '\n';
  }
};

// Version 2.1.
class TrcWriter : public TimedWriter {
 public:
  using TimedWriter::TimedWriter;

 protected:
  void WriteHeading(std::uint64_t begin_us) override {
    constexpr double DAYS_TO_1970 = 25569;
    constexpr double SECONDS_PER_DAY = 86'400;
    std::tm local = LocalTime(begin_us);
    const auto onClock = static_cast<double>(::timegm(&local));
    const double seconds = onClock + static_cast<double>(begin_us % US_PER_SECOND) / US_PER_SECOND;
    Out() << ";$FILEVERSION=2.1\r\n;$STARTTIME=" << Printed("%.10f", DAYS_TO_1970 + seconds / SECONDS_PER_DAY)
          << "\r\n;$COLUMNS=N,O,T,B,I,d,R,L,D\r\n"
             ";   Number  Offset [ms]  Type Bus ID [hex] Rx/Tx Reserved Length Data [hex]\r\n";
  }
  void WriteFrame(const bus::frame_t& frame, std::uint64_t time_us) override {
    Out() << Printed("%7llu", static_cast<unsigned long long>(++number_))
          << Printed(" %9llu.%03u DT  1 ", static_cast<unsigned long long>(time_us / US_PER_MS),
                     static_cast<unsigned>(time_us % US_PER_MS))
          << Printed(frame.extended ? "%08X" : "    %04X", frame.identifier)
          << Printed(" Rx -  %-4d", frame.length) << SpacedHex(frame) << "\r\n";
  }

 private:
  std::uint64_t number_ = 0;
};

// The layout is in blf_reader.h.
class BlfWriter : public TimedWriter {
 public:
  using TimedWriter::TimedWriter;
  void Finish() override;

 protected:
  void WriteHeading(std::uint64_t begin_us) override;
  void WriteFrame(const bus::frame_t& frame, std::uint64_t time_us) override;

 private:
  static constexpr std::size_t FILE_HEADER = 144;
  static constexpr std::size_t CONTAINER_SIZE = 131'072;
  static constexpr std::size_t CONTAINER_HEADER = 32;
  using file_header_t = std::array<std::uint8_t, FILE_HEADER>;

  void WriteContainer();
  void WriteBytes(std::span<const std::uint8_t> bytes) {
    Out().write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    size_ += bytes.size();
  }
  static void StoreSystemTime(file_header_t& header, std::size_t at, std::uint64_t time_us);

  file_header_t header_{};
  std::uint64_t begin_us_ = 0;
  std::uint64_t last_us_ = 0;
  std::uint32_t frames_ = 0;
  std::uint64_t size_ = 0;
  std::uint64_t unpackedSize_ = FILE_HEADER;
  std::vector<std::uint8_t> container_;
};

void BlfWriter::StoreSystemTime(file_header_t& header, std::size_t at, std::uint64_t time_us) {
  const std::tm local = LocalTime(time_us);
  const std::array<int, 8> parts = {
      local.tm_year + 1900, local.tm_mon + 1,
      local.tm_wday,        local.tm_mday,
      local.tm_hour,        local.tm_min,
      local.tm_sec,         static_cast<int>(time_us % US_PER_SECOND / US_PER_MS)};
  for (const int part : parts) {
    platform::StoreLe16(header, at, static_cast<std::uint16_t>(part));
    at += 2;
  }
}

void BlfWriter::WriteHeading(std::uint64_t begin_us) {
  begin_us_ = begin_us;
  WriteBytes(header_);  // Finish writes it again
}

void BlfWriter::WriteFrame(const bus::frame_t& frame, std::uint64_t time_us) {
  constexpr std::uint32_t EXTENDED = 0x80000000;
  constexpr std::uint32_t NANOSECONDS = 2;
  std::array<std::uint8_t, 48> object{'L', 'O', 'B', 'J', 32, 0, 1};
  platform::StoreLe32(object, 8, object.size());
  platform::StoreLe32(object, 12, 1);
  platform::StoreLe32(object, 16, NANOSECONDS);
  platform::StoreLe64(object, 24, time_us * 1'000);
  platform::StoreLe16(object, 32, 1);  // the channel
  object[35] = frame.length;
  platform::StoreLe32(object, 36, frame.identifier | (frame.extended ? EXTENDED : 0));
  std::ranges::copy(frame.Bytes(), object.begin() + 40);
  container_.insert(container_.end(), object.begin(), object.end());
  last_us_ = begin_us_ + time_us;
  ++frames_;
  if (container_.size() >= CONTAINER_SIZE) WriteContainer();
}

void BlfWriter::WriteContainer() {
  constexpr std::uint16_t ZLIB = 2;
  if (container_.empty()) return;
  std::vector<std::uint8_t> packed(::compressBound(container_.size()));
  uLongf size = packed.size();
  if (::compress(packed.data(), &size, container_.data(), container_.size()) != Z_OK)
    throw Failure("no memory to pack the log");
  packed.resize(size);
  std::array<std::uint8_t, CONTAINER_HEADER> header{'L', 'O', 'B', 'J', 16, 0, 1};
  platform::StoreLe32(header, 8, static_cast<std::uint32_t>(header.size() + size));
  platform::StoreLe32(header, 12, 10);
  platform::StoreLe16(header, 16, ZLIB);
  platform::StoreLe32(header, 24, static_cast<std::uint32_t>(container_.size()));
  WriteBytes(header);
  packed.resize(size + (header.size() + size) % 4);  // Vector's tools pad by the remainder
  WriteBytes(packed);
  unpackedSize_ += CONTAINER_HEADER + container_.size();
  container_.clear();
}

void BlfWriter::Finish() {
  WriteContainer();
  std::ranges::copy(std::string_view("LOGG"), header_.begin());
  platform::StoreLe32(header_, 4, FILE_HEADER);
  platform::StoreLe64(header_, 16, size_);
  platform::StoreLe64(header_, 24, unpackedSize_);
  platform::StoreLe32(header_, 32, frames_);
  StoreSystemTime(header_, 40, begin_us_);
  StoreSystemTime(header_, 56, last_us_);
  Out().seekp(0);
  WriteBytes(header_);
}

template <class Writer>
std::unique_ptr<LogWriter> Create(std::ostream& out) {
  return std::make_unique<Writer>(out);
}

constexpr std::string_view FROM_FIRST = "the time since 1970 but for the heading";
constexpr std::array<log_form_t, 5> FORMS = {{
    {"candump", ".log", "", false, Create<CandumpWriter>},
    {"asc", ".asc", FROM_FIRST, false, Create<AscWriter>},
    {"csv", ".csv", "", false, Create<CsvWriter>},
    {"trc", ".trc", "", false, Create<TrcWriter>},
    {"blf", ".blf", "", true, Create<BlfWriter>},
}};

}  // namespace

std::span<const log_form_t> LogForms() {
  return FORMS;
}

}  // namespace host
