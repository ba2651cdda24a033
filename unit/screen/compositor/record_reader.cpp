#include "unit/screen/compositor/record_reader.h"

#include <algorithm>
#include <optional>

#include "platform/byte_order.h"

namespace unit {
namespace {

using namespace Compositing;

constexpr std::size_t WORD = 4;

std::optional<layer_record_t> ReadRecord(std::span<const std::uint8_t> message) {
  if (message.size() < RECORD_HEADER_SIZE || platform::LoadLe32(message, MARKER_AT) != RECORD_MARKER) return {};
  // The length is rounded up to whole words, but the data of the last record are not padded.
  const std::size_t length = platform::LoadLe32(message, DATA_LENGTH_AT);
  const std::size_t room = message.size() - RECORD_HEADER_SIZE;
  if (length % WORD != 0 || length >= room + WORD) return {};
  return layer_record_t{platform::LoadLe32(message, COMMAND_AT), platform::LoadLe32(message, FIRST_ARGUMENT_AT),
                        platform::LoadLe32(message, LAYER_AT), platform::LoadLe32(message, SECOND_ARGUMENT_AT),
                        message.subspan(RECORD_HEADER_SIZE, std::min(length, room))};
}

}  // namespace

record_count_t ReadRecords(std::span<const std::uint8_t> message,
                           const std::function<void(const layer_record_t&)>& take) {
  record_count_t count;
  bool inGap = false;
  for (std::size_t at = 0; at < message.size();) {
    const std::optional<layer_record_t> record = ReadRecord(message.subspan(at));
    if (!record) {
      if (!inGap) ++count.skipped;
      inGap = true;
      at += WORD;
      continue;
    }
    inGap = false;
    ++count.read;
    take(*record);
    at += RECORD_HEADER_SIZE + (record->data.size() + WORD - 1) / WORD * WORD;
  }
  return count;
}

std::string_view TextOf(std::span<const std::uint8_t> data, std::size_t offset) {
  if (offset >= data.size()) return {};
  const auto text = data.subspan(offset);
  const auto end = std::find(text.begin(), text.end(), std::uint8_t{0});
  // Any object may be read through char.
  return {reinterpret_cast<const char*>(text.data()), static_cast<std::size_t>(end - text.begin())};
}

}  // namespace unit
