#include "host/log_forms/blf_reader.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <span>
#include <string>
#include <utility>

#include "platform/byte_order.h"

#include "host/protocol/errors.h"

namespace host {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::string_view OBJECT_BEGINNING = "LOBJ";
constexpr std::size_t OBJECT_HEADER = 16;
constexpr std::size_t MOST_PADDING = 8;
constexpr std::uint32_t CONTAINER = 10;

// Where an object of a type has what a frame needs, counted from the end of the object's header.
struct frame_layout_t {
  std::uint32_t type;
  std::size_t lengthAt;
  std::size_t identifierAt;
  std::size_t remoteAt;  // a byte with this bit
  std::uint8_t remoteBit;
  std::size_t fdAt;
  std::uint8_t fdBit;  // 0: never a CAN FD frame
  std::size_t dataAt;
};
constexpr std::array<frame_layout_t, 4> FRAMES = {{
    {1, 3, 4, 2, 0x80, 2, 0, 8},         // CAN message
    {86, 3, 4, 2, 0x80, 2, 0, 8},        // the same with the frame's duration behind it
    {100, 3, 4, 2, 0x80, 13, 0x01, 20},  // message of a CAN FD channel, classic frames too
    {101, 1, 4, 12, 0x10, 13, 0x10, 40},
}};
// Error frames, overload frames.
constexpr std::array<std::uint32_t, 4> NO_FRAMES = {2, 3, 73, 104};

[[noreturn]] void ThrowBroken(const char* what) {
  throw UsageError(std::string("the BLF log is broken: ") + what +
                   "; what was before that place has been read");
}

std::size_t ReadBytes(std::streambuf& in, std::span<std::uint8_t> bytes) {
  return static_cast<std::size_t>(
      in.sgetn(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())));
}

void ReadAll(std::streambuf& in, std::span<std::uint8_t> bytes) {
  if (ReadBytes(in, bytes) != bytes.size()) ThrowBroken("it ends within an object");
}

void SkipBytes(std::streambuf& in, std::uint64_t count) {
  std::array<std::uint8_t, 1024> scratch{};
  while (count > 0) {
    const std::size_t size = std::min<std::uint64_t>(count, scratch.size());
    ReadAll(in, std::span(scratch).first(size));
    count -= size;
  }
}

struct object_t {
  std::uint16_t headerSize = 0;
  std::uint32_t size = 0;
  std::uint32_t type = 0;
};

// Passes the padding before the next object. False at the end.
bool FindObject(std::streambuf& in) {
  std::size_t matched = 0;
  for (std::size_t passed = 0; passed < MOST_PADDING + OBJECT_BEGINNING.size(); ++passed) {
    const int letter = in.sbumpc();
    if (letter == std::streambuf::traits_type::eof()) return false;
    matched = letter == OBJECT_BEGINNING[matched] ? matched + 1 : static_cast<std::size_t>(letter == 'L');
    if (matched == OBJECT_BEGINNING.size()) return true;
  }
  ThrowBroken("no object begins where one should");
}

std::optional<object_t> ReadObject(std::streambuf& in) {
  if (!FindObject(in)) return std::nullopt;
  std::array<std::uint8_t, OBJECT_HEADER - OBJECT_BEGINNING.size()> rest{};
  ReadAll(in, rest);
  const object_t object{.headerSize = platform::LoadLe16(rest, 0),
                        .size = platform::LoadLe32(rest, 4),
                        .type = platform::LoadLe32(rest, 8)};
  if (object.headerSize < OBJECT_HEADER || object.size < object.headerSize)
    ThrowBroken("an object's size is wrong");
  return object;
}

// Year, month, day of the week, day, hour, minute, second and millisecond, local time.
std::uint64_t ReadSystemTime(Bytes bytes) {
  constexpr int YEAR_ZERO = 1900;
  constexpr std::uint64_t US_PER_SECOND = 1'000'000;
  constexpr std::uint64_t US_PER_MS = 1'000;
  const auto part = [bytes](std::size_t number) { return platform::LoadLe16(bytes, 2 * number); };
  std::tm local{};
  local.tm_year = part(0) - YEAR_ZERO;
  local.tm_mon = part(1) - 1;
  local.tm_mday = part(3);
  local.tm_hour = part(4);
  local.tm_min = part(5);
  local.tm_sec = part(6);
  local.tm_isdst = -1;
  const std::time_t seconds = std::mktime(&local);
  return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * US_PER_SECOND + part(7) * US_PER_MS;
}

// The time of an object since the beginning of the recording.
std::uint64_t ReadTime_us(Bytes header) {
  constexpr std::uint64_t MOST = 1'000'000'000'000'000'000;  // 31 years in nanoseconds
  const bool isTens = platform::LoadLe32(header, 0) == 1;
  const std::uint64_t time = std::min(platform::LoadLe64(header, 8), MOST);
  return isTens ? std::min(time, MOST / 10'000) * 10 : time / 1'000;
}

// Empty where the object is a frame of another kind.
std::optional<bus::frame_t> ReadFrame(const frame_layout_t& layout, Bytes body) {
  constexpr std::uint32_t EXTENDED = 0x80000000;
  constexpr std::uint32_t LARGEST = 0x1FFFFFFF;
  constexpr std::uint32_t LARGEST_STANDARD = 0x7FF;
  bus::frame_t frame;
  const std::uint32_t identifier = platform::LoadLe32(body, layout.identifierAt);
  frame.extended = (identifier & EXTENDED) != 0;
  frame.identifier = identifier & ~EXTENDED;
  // A classic frame whose length code is above 8 has 8 bytes (ISO 11898-1).
  frame.length = static_cast<std::uint8_t>(std::min<std::size_t>(body[layout.lengthAt], frame.data.size()));
  std::copy_n(body.begin() + static_cast<std::ptrdiff_t>(layout.dataAt), frame.length, frame.data.begin());
  const bool isRemote = (body[layout.remoteAt] & layout.remoteBit) != 0;
  const bool isFd = (body[layout.fdAt] & layout.fdBit) != 0;
  const bool isTooLarge = frame.identifier > (frame.extended ? LARGEST : LARGEST_STANDARD);
  if (isRemote || isFd || isTooLarge) return std::nullopt;
  return frame;
}

// Reads what follows the beginning of an object that has a frame.
std::optional<bus::frame_t> ReadFrameObject(const object_t& object, const frame_layout_t& layout,
                                            std::streambuf& in) {
  constexpr std::size_t TIME_END = 16;  // of the header's second part
  std::array<std::uint8_t, 128> bytes{};
  const std::size_t size = object.size - OBJECT_HEADER;
  const std::size_t read = std::min<std::size_t>(size, bytes.size());
  const std::size_t bodyAt = object.headerSize - OBJECT_HEADER;
  ReadAll(in, std::span(bytes).first(read));
  SkipBytes(in, size - read);
  if (bodyAt < TIME_END || bodyAt + layout.dataAt + 8 > bytes.size() || bodyAt + layout.dataAt > read)
    ThrowBroken("an object is too short for a frame");
  auto frame = ReadFrame(layout, Bytes(bytes).subspan(bodyAt));
  if (frame) frame->time_us = ReadTime_us(bytes);
  return frame;
}

}  // namespace

void BlfContainers::ReadFileHeader() {
  constexpr std::size_t SIZE_AT = 4;
  constexpr std::size_t BEGIN_AT = 40;
  std::array<std::uint8_t, 72> header{};
  ReadAll(log_, header);
  const std::uint32_t size = platform::LoadLe32(header, SIZE_AT);
  if (size < header.size()) ThrowBroken("its header is too short");
  SkipBytes(log_, size - header.size());
  begin_us_ = ReadSystemTime(Bytes(header).subspan(BEGIN_AT));
}

// Passes other objects. False at the end.
bool BlfContainers::OpenContainer() {
  constexpr std::uint16_t PACKED = 2;
  std::array<std::uint8_t, 16> header{};
  for (auto object = ReadObject(log_); object; object = ReadObject(log_)) {
    if (object->type != CONTAINER) {
      SkipBytes(log_, object->size - OBJECT_HEADER);
      continue;
    }
    if (object->size < OBJECT_HEADER + header.size()) ThrowBroken("a container is too short");
    ReadAll(log_, header);
    const std::uint16_t method = platform::LoadLe16(header, 0);
    if (method != 0 && method != PACKED) ThrowBroken("a container is packed in an unknown way");
    packedLeft_ = object->size - OBJECT_HEADER - header.size();
    unpackedLeft_ = method == 0 ? packedLeft_ : platform::LoadLe32(header, 8);
    unpacker_ = method == 0 ? nullptr : CreateZlibUnpacker();
    left_ = {};
    return true;
  }
  return false;
}

void BlfContainers::ReadPacked() {
  const auto size = static_cast<std::streamsize>(std::min<std::uint64_t>(packedLeft_, in_.size()));
  if (log_.sgetn(in_.data(), size) != size) ThrowBroken("it ends within a container");
  packedLeft_ -= static_cast<std::uint64_t>(size);
  left_ = {in_.data(), static_cast<std::size_t>(size)};
}

std::size_t BlfContainers::UnpackSome(std::span<char> room) {
  try {
    if (unpacker_) return unpacker_->Unpack(left_, room);
  } catch (const UsageError&) {
    ThrowBroken("a container's zlib data are broken");
  }
  const std::size_t size = std::min(left_.size(), room.size());
  std::copy_n(left_.begin(), size, room.begin());
  left_.remove_prefix(size);
  return size;
}

// The next bytes of the open container, at most as many as its header promises.
std::size_t BlfContainers::Unpack() {
  const std::span<char> room = std::span(out_).first(std::min<std::uint64_t>(out_.size(), unpackedLeft_));
  for (;;) {
    if (left_.empty() && packedLeft_ > 0) ReadPacked();
    const std::size_t before = left_.size();
    const std::size_t size = UnpackSome(room);
    if (size > 0) return size;
    if (left_.size() == before && packedLeft_ == 0) ThrowBroken("a container ends too early");
  }
}

bool BlfContainers::Fill() {
  while (unpackedLeft_ == 0) {
    SkipBytes(log_, packedLeft_);
    packedLeft_ = 0;
    if (!OpenContainer()) return false;
  }
  const std::size_t size = Unpack();
  unpackedLeft_ -= size;
  setg(out_.data(), out_.data(), out_.data() + size);
  return true;
}

std::optional<bus::frame_t> BlfReader::Next() {
  if (!std::exchange(isBegun_, true)) containers_.ReadFileHeader();
  while (const auto object = ReadObject(containers_)) {
    const auto* const layout = std::ranges::find(FRAMES, object->type, &frame_layout_t::type);
    std::optional<bus::frame_t> frame;
    if (layout == FRAMES.end()) {
      SkipBytes(containers_, object->size - OBJECT_HEADER);
      if (std::ranges::find(NO_FRAMES, object->type) == NO_FRAMES.end()) continue;
    } else {
      frame = ReadFrameObject(*object, *layout, containers_);
    }
    if (!frame) {
      ++skipped_;
      continue;
    }
    frame->time_us += containers_.Begin_us();
    return frame;
  }
  return std::nullopt;
}

}  // namespace host
