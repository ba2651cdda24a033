#include "unit/trace/trace_report.h"

#include <algorithm>

#include "platform/byte_order.h"

namespace unit {
namespace {

constexpr std::size_t HEADER_SIZE = 8;
constexpr std::size_t IDENTIFIER_AT = 8;
constexpr std::size_t EXTENDED_AT = 12;
constexpr std::size_t SENT_AT = 13;
constexpr std::size_t LENGTH_AT = 14;
constexpr std::size_t DATA_AT = 16;
constexpr std::size_t RECORD_SIZE = 24;

void WriteRecord(const traced_frame_t& traced, std::span<std::uint8_t> record) {
  const bus::frame_t& frame = traced.frame;
  platform::StoreLe64(record, 0, frame.time_us);
  platform::StoreLe32(record, IDENTIFIER_AT, frame.identifier);
  record[EXTENDED_AT] = frame.extended ? 1 : 0;
  record[SENT_AT] = traced.sent ? 1 : 0;
  record[LENGTH_AT] = frame.length;
  std::ranges::copy(frame.data, record.subspan(DATA_AT).begin());
}

traced_frame_t ReadRecord(std::span<const std::uint8_t> record) {
  traced_frame_t traced{.frame = {.identifier = platform::LoadLe32(record, IDENTIFIER_AT),
                                  .extended = record[EXTENDED_AT] == 1,
                                  .length = record[LENGTH_AT],
                                  .data = {},
                                  .time_us = platform::LoadLe64(record, 0)},
                        .sent = record[SENT_AT] == 1};
  std::ranges::copy(record.subspan(DATA_AT), traced.frame.data.begin());
  return traced;
}

}  // namespace

std::vector<std::uint8_t> WriteTraceReport(const trace_report_t& report) {
  std::vector<std::uint8_t> message(HEADER_SIZE + RECORD_SIZE * report.frames.size());
  platform::StoreLe64(message, 0, report.first);
  std::span<std::uint8_t> rest = std::span(message).subspan(HEADER_SIZE);
  for (const traced_frame_t& traced : report.frames) {
    WriteRecord(traced, rest.first(RECORD_SIZE));
    rest = rest.subspan(RECORD_SIZE);
  }
  return message;
}

std::optional<trace_report_t> ReadTraceReport(std::span<const std::uint8_t> message) {
  if (message.size() < HEADER_SIZE || (message.size() - HEADER_SIZE) % RECORD_SIZE != 0) return std::nullopt;
  trace_report_t report{.first = platform::LoadLe64(message, 0), .frames = {}};
  for (auto rest = message.subspan(HEADER_SIZE); !rest.empty(); rest = rest.subspan(RECORD_SIZE)) {
    report.frames.push_back(ReadRecord(rest.first(RECORD_SIZE)));
    if (report.frames.back().frame.length > report.frames.back().frame.data.size()) return std::nullopt;
  }
  return report;
}

}  // namespace unit
