// Fuzzes everything that a host can send, from the delivery by the J1939 service to the record.
//
// The first byte of an input chooses how the rest is sent. Even: as frames of eight bytes each. Odd: as one
// message cut into frames in the right sequence, so that the input reaches the commands and does not fail at
// the framing.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/byte_order.h"

#include "src/core/operating_values.h"
#include "src/hostlink/can_transport.h"
#include "src/hostlink/decapsulation.h"
#include "src/hostlink/j1939_external.h"
#include "src/parse/parse_thread.h"
#include "src/text/fields.h"
#include "src/text/system_text.h"
#include "tests/support/test_record.h"

namespace {

using bytes_t = std::span<const std::uint8_t>;

void Require(bool condition) {
  if (!condition) std::abort();
}

// Delivers one frame, padded to eight bytes.
void Deliver(orvikData_t* data, bytes_t frame) {
  std::array<std::uint8_t, J1939_MESSAGE_SIZE> message{};
  platform::StoreLe32(message, J1939_IDENTIFIER_AT, HOST_FRAME_ID);
  auto at = std::copy(frame.begin(), frame.end(), message.begin() + J1939_DATA_AT);
  std::fill(at, message.begin() + J1939_DATA_AT + FRAME_SIZE, FRAME_PADDING);
  HandleServiceMessage(data, message);
}

void DeliverFrames(orvikData_t* data, bytes_t bytes) {
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.size(), FRAME_SIZE);
    Deliver(data, bytes.first(size));
    bytes = bytes.subspan(size);
  }
}

void DeliverMessage(orvikData_t* data, bytes_t bytes) {
  bytes = bytes.first(std::min(bytes.size(), MessageRoom(255)));
  std::size_t frames = 1;
  while (MessageRoom(frames) < bytes.size()) ++frames;
  for (std::size_t number = 0; number < frames; ++number) {
    std::array<std::uint8_t, FRAME_SIZE> frame{static_cast<std::uint8_t>(number),
                                               static_cast<std::uint8_t>(frames)};
    const std::size_t from = number == 0 ? 2 : 1;
    const std::size_t size = std::min(bytes.size(), FRAME_SIZE - from);
    std::copy_n(bytes.begin(), size, frame.begin() + static_cast<std::ptrdiff_t>(from));
    bytes = bytes.subspan(size);
    Deliver(data, frame);
  }
}

// What must hold for every input.
void CheckRecord(orvikData_t* data) {
  for (const field_entry_t& entry : FIELDS) Require(entry.field->text.size() <= MAX_FIELD_TEXT);
  Require(data->flashLine.size() <= MAX_FIELD_TEXT);
  Require(data->language < 6 && data->units < 2);
  Require(data->lcdSize == data->lcdRows * data->lcdColumns && data->lcdColumns <= LINE_CELLS);
  StowedText(data);
  ErectedText(data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  static TestRecord record;
  if (size == 0) return 0;
  InitAllFields();
  SetLanguage(record, (input[0] & 2U) != 0 ? 3 : 0);
  if ((input[0] & 4U) != 0) ShowSystemText(record, "LOST COMMUNICATIONS WITH COMPUTER!");

  const bytes_t bytes(input + 1, size - 1);
  (input[0] & 1U) != 0 ? DeliverMessage(record, bytes) : DeliverFrames(record, bytes);
  Decapsulator decapsulator;
  DecapsulateQueuedFrames(record, decapsulator);
  ParseQueuedMessages(record);
  EndSystemText(record);
  CheckRecord(record);
  return 0;
}
