// Splits a message to the compositor into its command records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "src/compositing/compositor_messages.h"

namespace unit {

// One record; the data point into the message.
struct layer_record_t {
  std::uint32_t command = 0;
  std::uint32_t firstArgument = 0;
  std::uint32_t layer = 0;
  std::uint32_t secondArgument = 0;
  std::span<const std::uint8_t> data;
};

struct record_count_t {
  std::size_t read = 0;
  std::size_t skipped =
      0;  // places with no record where one should begin, or with data beyond the message's end
};

// Passes each complete record to `take`, in order. Skips bytes that are not a record up to the next marker: a
// client whose queue is full can leave parameters without a header.
record_count_t ReadRecords(std::span<const std::uint8_t> message,
                           const std::function<void(const layer_record_t&)>& take);

// The text at `offset` of a record's data, up to its 0 byte or the end of the data.
std::string_view TextOf(std::span<const std::uint8_t> data, std::size_t offset);

}  // namespace unit
