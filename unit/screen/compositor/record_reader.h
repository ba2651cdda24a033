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

// One record; the data lie in the message.
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
      0;  // places where a record should stand and none does, or its data end beyond the message
};

// Hands each whole record to `take`, in order. What is no record is passed over to the next marker, since the
// client itself can leave parameters without a header when its queue is full.
record_count_t ReadRecords(std::span<const std::uint8_t> message,
                           const std::function<void(const layer_record_t&)>& take);

// The text at `offset` of a record's data up to its 0 byte or the end.
std::string_view TextOf(std::span<const std::uint8_t> data, std::size_t offset);

}  // namespace unit
