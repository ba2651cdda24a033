// A bad host: spoils some of the messages that go out, by name and at a seeded rate, and keeps count of it.
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

enum class fault_t : std::uint8_t {
  MISSING_FRAME,
  REPEATED_FRAME,
  WRONG_SEQUENCE,
  OVERSIZE,
  BAD_LENGTH,
  BROKEN_UTF8,
  UNKNOWN_COMMAND,
  BABBLE,
};
constexpr std::size_t FAULTS = 8;

struct fault_name_t {
  std::string_view name;
  std::string_view about;
};
// The index is the fault.
std::span<const fault_name_t, FAULTS> Faults();

// "missing-frame,babble" or "all". Throws UsageError, with the nearest name where there is no such fault.
std::vector<fault_t> ParseFaults(std::string_view text);

// One thread. The same seed and messages give the same frames.
class Injector {
 public:
  // `rate` is the part of all messages that is spoiled, 0 to 1. Without faults nothing ever is.
  Injector(std::vector<fault_t> faults, double rate, std::uint64_t seed);

  // What goes onto the bus for a message's frames: these, and before them at times those of a bad message by
  // one of the faults, so that the display can be seen to recover.
  std::vector<bus::frame_t> Apply(std::span<const bus::frame_t> message);
  // Spoils the next message by this fault, whatever the rate.
  void Ask(fault_t fault) { asked_.push_back(fault); }

  std::uint64_t Count(fault_t fault) const { return counts_[static_cast<std::size_t>(fault)]; }
  // "injected 12 faults: missing-frame 5, babble 7"; "injected no faults".
  std::string Summary() const;

 private:
  bool Draw(fault_t& fault);
  std::vector<bus::frame_t> Spoil(fault_t fault, std::span<const bus::frame_t> message);

  const std::vector<fault_t> faults_;
  const double rate_;
  std::mt19937_64 chance_;
  std::vector<fault_t> asked_;
  std::array<std::uint64_t, FAULTS> counts_{};
};

}  // namespace host
