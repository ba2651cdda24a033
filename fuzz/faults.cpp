// Fuzzes the trouble codes of the bus. Input: a byte for identifier and time, then a frame of eight bytes; and
// so on. Oracle: a decoder of DM1 that takes the message bit by bit. A joined broadcast has the bytes of the
// packets; a report is the same after writing and reading.
#include <map>

#include "fuzz/fuzz_input.h"
#include "unit/faults/fault_list.h"

namespace {

using fuzz::Require;

// Bits from the lowest one of a byte on, as SAE J1939-73 numbers them.
unsigned TakeBits(fuzz::bytes_t bytes, std::size_t first, std::size_t count) {
  unsigned value = 0;
  for (std::size_t bit = first + count; bit-- > first;) value = value << 1U | (bytes[bit / 8] >> bit % 8 & 1U);
  return value;
}

void CheckDm1(fuzz::bytes_t message) {
  const auto read = unit::ReadDm1(message);
  Require(read.has_value() == (message.size() >= 6));
  for (std::size_t lamp = 0; read && lamp < unit::FAULT_LAMPS; ++lamp) {
    Require(read->lamps.at(lamp) == (TakeBits(message, 6 - 2 * lamp, 2) == 1));
  }
  std::size_t codes = 0;
  for (std::size_t at = 16; read && at + 32 <= message.size() * 8; at += 32) {
    const unsigned spn = TakeBits(message, at, 16) | TakeBits(message, at + 21, 3) << 16U;
    const unsigned fmi = TakeBits(message, at + 16, 5);
    if ((spn == 0 && fmi == 0) || spn == 0x7FFFF) continue;
    const unit::trouble_code_t& code = read->codes.at(codes++);
    Require(code.fmi == fmi && code.count == TakeBits(message, at + 24, 7));
    Require(code.spn == (TakeBits(message, at + 31, 1) == 1 ? std::nullopt : std::optional(spn)));
  }
  Require(!read || read->codes.size() == codes);
}

void CheckReport(const unit::fault_report_t& report) {
  Require(report.first.size() <= unit::MAX_REPORTED_FAULTS);
  Require(unit::ReadFaultReport(unit::WriteFaultReport(report)) == report);
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  static constexpr std::array<std::uint32_t, 4> IDENTIFIERS = {0x18ECFF00, 0x18EBFF00, 0x18FECA00, 0x18FF00D0};
  CheckDm1(input);
  if (const auto report = unit::ReadFaultReport(input)) CheckReport(*report);
  unit::FaultList list;
  unit::BroadcastJoin join(unit::DM1_PGN);
  std::map<unsigned, std::string> packets;  // since the announcement, by source
  std::chrono::steady_clock::time_point now{std::chrono::hours(1)};
  for (InputReader reader(input); !reader.IsAtEnd();) {
    const unsigned head = reader.TakeByte();
    const unsigned source = head >> 2U & 3U;
    const std::uint32_t identifier = IDENTIFIERS.at(head & 3U) | source;
    if (head >= 0xF0) now += std::chrono::milliseconds(400);
    const bytes_t frame = reader.Take(8);
    list.Accept(identifier, frame, now);
    CheckReport(list.MakeReport(now));
    if ((head & 3U) == 0 && frame.size() == 8 && frame[0] == 32) packets[source].clear();
    if ((head & 3U) == 1 && frame.size() == 8) packets[source] += TextOf(frame.subspan(1));
    const auto broadcast = join.Accept(identifier, frame, now);
    if (!broadcast) continue;
    Require(broadcast->source == source && packets[source].starts_with(TextOf(broadcast->data)));
    Require(packets[source].size() < broadcast->data.size() + 7);
    CheckDm1(broadcast->data);
  }
}
