// Sends faulty messages before some of the good ones, so that tests see the display recover. The faults have
// names and come at a seeded rate; hx7 counts them.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bus/can_frame.h"
#include "host/protocol/encode.h"

namespace host {

enum class bus_fault_t : std::uint8_t {
  MISSING_FRAME,
  REPEATED_FRAME,
  WRONG_SEQUENCE,
  OVERSIZE,
  BAD_LENGTH,
  BROKEN_UTF8,
  UNKNOWN_COMMAND,
  BABBLE,
};
constexpr std::size_t BUS_FAULTS = 8;

struct bus_fault_name_t {
  std::string_view name;
  std::string_view about;
};
// The index is the bus_fault_t.
std::span<const bus_fault_name_t, BUS_FAULTS> BusFaults();

// Reads "missing-frame,babble" or "all". Throws UsageError, which suggests the nearest name.
std::vector<bus_fault_t> ParseBusFaults(std::string_view text);

// For one thread. The same seed and messages give the same frames.
class Injector {
 public:
  // `rate` is the fraction of messages, 0 to 1, that a faulty one precedes. Without faults there is none.
  Injector(std::vector<bus_fault_t> faults, double rate, std::uint64_t seed);

  // Returns the frames to send for a message: its own, and sometimes the frames of a faulty message before
  // them.
  std::vector<bus::frame_t> Apply(std::span<const bus::frame_t> message);
  // The next message is preceded by this fault, whatever the rate.
  void Ask(bus_fault_t fault) { asked_.push_back(fault); }

  std::uint64_t Count(bus_fault_t fault) const { return counts_[static_cast<std::size_t>(fault)]; }
  // "injected 12 faults: missing-frame 5, babble 7"; "injected no faults".
  std::string Summary() const;

 private:
  bool DrawFault(bus_fault_t& fault);
  std::vector<bus::frame_t> MakeFaulty(bus_fault_t fault, std::span<const bus::frame_t> message);

  const std::vector<bus_fault_t> faults_;
  const double rate_;
  std::mt19937_64 chance_;
  std::vector<bus_fault_t> asked_;
  std::array<std::uint64_t, BUS_FAULTS> counts_{};
};

}  // namespace host
