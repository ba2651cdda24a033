// Fuzzes the command queue of the compositor. Input: length and message, and so on.
//
// Checks: the records lie in the message one behind the other; a message that is answered with an error draws
// nothing; records that come one by one draw the same as all in one message; the drawing is within its bounds,
// and its numbers are finite.
#include "unit/screen/compositor/compositor.h"

#include "platform/byte_order.h"

#include "fuzz/fuzz_input.h"

namespace {

using fuzz::Require;

std::optional<unit::stored_picture_t> FindPicture(const std::string& path) {
  if (path.empty() || path[0] != '/') return std::nullopt;
  return unit::stored_picture_t{"picture-1", 10, 20};
}

void CheckElement(const unit::drawn_element_t& element) {
  for (const auto& [name, value] : element.attributes) {
    Require(!name.empty() && value.find("nan") == std::string::npos && value.find("inf") == std::string::npos);
  }
  for (const unit::drawn_element_t& child : element.children) CheckElement(child);
}

// The records, with the header that each has in the message.
std::vector<fuzz::bytes_t> Split(fuzz::bytes_t message) {
  std::vector<fuzz::bytes_t> records;
  std::size_t end = 0;
  const auto count = unit::ReadRecords(message, [&](const unit::layer_record_t& record) {
    const auto at =
        static_cast<std::size_t>(record.data.data() - message.data()) - Compositing::RECORD_HEADER_SIZE;
    const std::size_t size = Compositing::RECORD_HEADER_SIZE + record.data.size();
    Require(at >= end && at % 4 == 0 && at + size <= message.size());
    Require(platform::LoadLe32(message, at) == Compositing::RECORD_MARKER);
    records.push_back(message.subspan(at, size));
    end = at + size;
  });
  Require(count.read == records.size() && count.skipped <= count.read + 1);
  return records;
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  unit::Compositor whole(FindPicture);
  unit::Compositor single(FindPicture);
  for (InputReader reader(input); !reader.IsAtEnd();) {
    const bytes_t message = reader.Take(reader.TakeWord());
    const unit::drawing_t before = whole.Drawing();
    const std::vector<bytes_t> records = Split(message);
    const auto reply = whole.Accept(message);
    Require((reply == unit::compositor_reply_t::NO_RECORD) == records.empty());
    Require(reply == unit::compositor_reply_t::OK || whole.Drawing() == before);
    if (reply != unit::compositor_reply_t::OK) continue;
    for (const bytes_t record : records) single.Accept(record);
  }
  const unit::drawing_t drawing = whole.Drawing();
  Require(drawing == single.Drawing() &&
          drawing.size() <= unit::Compositor::MAX_LAYERS * unit::Compositor::MAX_ELEMENTS);
  std::ranges::for_each(drawing, CheckElement);
}
