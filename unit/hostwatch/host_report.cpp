#include "unit/hostwatch/host_report.h"

#include "platform/byte_order.h"

namespace unit {
namespace {

constexpr std::size_t FRESH_AT = 0;
constexpr std::size_t VALUES_AT_AT = 8;
constexpr std::size_t SIZE = 16;

}  // namespace

std::vector<std::uint8_t> WriteHostReport(const host_report_t& report) {
  using std::chrono::nanoseconds;
  std::vector<std::uint8_t> message(SIZE);
  platform::StoreLe64(message, FRESH_AT, report.areValuesFresh ? 1 : 0);
  const auto time = std::chrono::duration_cast<nanoseconds>(report.valuesAt.time_since_epoch()).count();
  platform::StoreLe64(message, VALUES_AT_AT, static_cast<std::uint64_t>(time));
  return message;
}

std::optional<host_report_t> ReadHostReport(std::span<const std::uint8_t> message) {
  if (message.size() != SIZE) return std::nullopt;
  const std::chrono::nanoseconds time(static_cast<std::int64_t>(platform::LoadLe64(message, VALUES_AT_AT)));
  return host_report_t{.areValuesFresh = platform::LoadLe64(message, FRESH_AT) == 1,
                       .valuesAt = host_report_t::TimePoint(
                           std::chrono::duration_cast<host_report_t::TimePoint::duration>(time))};
}

}  // namespace unit
