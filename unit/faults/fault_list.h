// The active faults of all control units on the bus.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "unit/faults/broadcast_join.h"
#include "unit/faults/fault_report.h"
#include "unit/faults/trouble_codes.h"

namespace unit {

// Any thread.
class FaultList {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  // A control unit that has sent no DM1 for so long has no faults any more: five of its messages are missing.
  static constexpr std::chrono::seconds LIFETIME{5};
  static constexpr std::chrono::seconds REPEAT{1};

  // Takes one frame of the bus with a 29-bit identifier, in the order of the bus. A DM1 replaces all that its
  // sender has reported before.
  void Accept(std::uint32_t identifier, std::span<const std::uint8_t> data, TimePoint now);

  // The codes of control units with the stop lamp come first, then those with the warning lamp; those of equal
  // lamps in the order of the addresses.
  fault_report_t MakeReport(TimePoint now);
  // The report, when it has changed or the last one is REPEAT old.
  std::optional<fault_report_t> TakeIfDue(TimePoint now);

 private:
  struct heard_t {
    dm1_t message;
    TimePoint at;
  };

  void Note(std::uint8_t source, std::span<const std::uint8_t> message, TimePoint now);

  std::mutex mutex_;  // guards all below
  BroadcastJoin join_{DM1_PGN};
  std::map<std::uint8_t, heard_t> heard_;  // by source
  fault_report_t taken_;
  std::optional<TimePoint> takenAt_;
};

}  // namespace unit
