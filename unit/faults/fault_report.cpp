#include "unit/faults/fault_report.h"

#include "platform/byte_order.h"

namespace unit {
namespace {

constexpr std::size_t HEARD_AT = 0, LAMPS_AT = 1, ACTIVE_AT = 2, FIRST_AT = 4;
constexpr std::size_t FAULT_SIZE = 8;
constexpr std::size_t SPN_AT = 0, SOURCE_AT = 4, FMI_AT = 5, COUNT_AT = 6;  // in a fault
constexpr std::uint32_t SPN_UNKNOWN = 0xFFFFFFFF;

void WriteFault(std::span<std::uint8_t> bytes, const fault_t& fault) {
  platform::StoreLe32(bytes, SPN_AT, fault.code.spn.value_or(SPN_UNKNOWN));
  bytes[SOURCE_AT] = fault.source;
  bytes[FMI_AT] = fault.code.fmi;
  bytes[COUNT_AT] = fault.code.count;
}

fault_t ReadFault(std::span<const std::uint8_t> bytes) {
  const std::uint32_t spn = platform::LoadLe32(bytes, SPN_AT);
  return {bytes[SOURCE_AT],
          {spn == SPN_UNKNOWN ? std::nullopt : std::optional(spn), bytes[FMI_AT], bytes[COUNT_AT]}};
}

}  // namespace

std::vector<std::uint8_t> WriteFaultReport(const fault_report_t& report) {
  std::vector<std::uint8_t> message(FIRST_AT + report.first.size() * FAULT_SIZE);
  message[HEARD_AT] = report.heard ? 1 : 0;
  for (std::size_t lamp = 0; lamp < FAULT_LAMPS; ++lamp) {
    if (report.lamps.at(lamp)) message[LAMPS_AT] |= static_cast<std::uint8_t>(1U << lamp);
  }
  platform::StoreLe16(message, ACTIVE_AT, report.active);
  for (std::size_t i = 0; i < report.first.size(); ++i) {
    WriteFault(std::span(message).subspan(FIRST_AT + i * FAULT_SIZE, FAULT_SIZE), report.first[i]);
  }
  return message;
}

std::optional<fault_report_t> ReadFaultReport(std::span<const std::uint8_t> message) {
  if (message.size() < FIRST_AT || (message.size() - FIRST_AT) % FAULT_SIZE != 0) return std::nullopt;
  const std::size_t faults = (message.size() - FIRST_AT) / FAULT_SIZE;
  if (faults > MAX_REPORTED_FAULTS) return std::nullopt;
  fault_report_t report;
  report.heard = message[HEARD_AT] != 0;
  for (std::size_t lamp = 0; lamp < FAULT_LAMPS; ++lamp) {
    report.lamps.at(lamp) = (message[LAMPS_AT] >> lamp & 1U) != 0;
  }
  report.active = platform::LoadLe16(message, ACTIVE_AT);
  for (std::size_t i = 0; i < faults; ++i) {
    report.first.push_back(ReadFault(message.subspan(FIRST_AT + i * FAULT_SIZE, FAULT_SIZE)));
  }
  return report;
}

}  // namespace unit
