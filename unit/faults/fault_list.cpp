#include "unit/faults/fault_list.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace unit {
namespace {

constexpr std::uint32_t PgnOf(std::uint32_t identifier) {
  return identifier >> 8 & 0x3FFFFU;
}

// 0 is the most urgent.
int UrgencyOf(const dm1_t& message) {
  if (message.lamps[LAMP_STOP]) return 0;
  return message.lamps[LAMP_WARNING] ? 1 : 2;
}

void AddTo(fault_report_t& report, std::uint8_t source, const dm1_t& message) {
  constexpr std::size_t MOST = std::numeric_limits<std::uint16_t>::max();
  report.active = static_cast<std::uint16_t>(std::min(MOST, report.active + message.codes.size()));
  for (const trouble_code_t& code : message.codes) {
    if (report.first.size() < MAX_REPORTED_FAULTS) report.first.push_back({source, code});
  }
}

}  // namespace

void FaultList::Accept(std::uint32_t identifier, std::span<const std::uint8_t> data, TimePoint now) {
  const std::lock_guard lock(mutex_);
  if (PgnOf(identifier) == DM1_PGN) Note(static_cast<std::uint8_t>(identifier), data, now);
  if (const auto broadcast = join_.Accept(identifier, data, now)) Note(broadcast->source, broadcast->data, now);
}

// The mutex is held.
void FaultList::Note(std::uint8_t source, std::span<const std::uint8_t> message, TimePoint now) {
  if (auto read = ReadDm1(message)) heard_[source] = {std::move(*read), now};
}

fault_report_t FaultList::MakeReport(TimePoint now) {
  const std::lock_guard lock(mutex_);
  std::erase_if(heard_, [now](const auto& entry) { return now - entry.second.at > LIFETIME; });
  fault_report_t report;
  report.heard = !heard_.empty();
  for (int urgency = 0; urgency < 3; ++urgency) {
    for (const auto& [source, heard] : heard_) {
      if (UrgencyOf(heard.message) == urgency) AddTo(report, source, heard.message);
    }
  }
  for (const auto& [source, heard] : heard_) {
    for (std::size_t lamp = 0; lamp < FAULT_LAMPS; ++lamp) {
      report.lamps.at(lamp) = report.lamps.at(lamp) || heard.message.lamps.at(lamp);
    }
  }
  return report;
}

std::optional<fault_report_t> FaultList::TakeIfDue(TimePoint now) {
  fault_report_t report = MakeReport(now);
  const std::lock_guard lock(mutex_);
  if (takenAt_ && report == taken_ && now - *takenAt_ < REPEAT) return std::nullopt;
  takenAt_ = now;
  taken_ = report;
  return report;
}

}  // namespace unit
