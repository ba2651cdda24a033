// What the bus has seen: counts and the last frames, as they are published on BUS_CHANNEL_NAME.
//
// {"bus":"local","interface":"can0","state":"up","received":1,"sent":0,"refused":0,"dropped":0,
//  "identifiers":{"18FF00D0":1},
//  "frames":[{"time":1436509052.249713,"id":"18FF00D0","data":"0001060000000000","direction":"rx"}]}
//
// Directions are seen from the display unit; the last frame stands last; identifiers of eight digits are 29
// bits long, of three 11.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "bus/can_frame.h"

namespace unit {

// Any thread may call.
class BusReport {
 public:
  static constexpr std::size_t LAST_FRAMES = 50;
  static constexpr std::size_t MAX_IDENTIFIERS = 64;  // frames of further ones are counted in the sums alone

  enum class direction_t { RECEIVED, SENT };

  BusReport(std::string bus, std::string interface) : bus_(std::move(bus)), interface_(std::move(interface)) {}

  void Note(const bus::frame_t& frame, direction_t direction);
  void NoteRefused();
  void NoteDropped();
  void SetUp(bool up);

  // The report when anything changed since it was taken last.
  std::optional<std::string> TakeIfChanged();
  std::map<std::string, std::uint64_t> Counters() const;
  bool IsUp() const;

 private:
  struct entry_t {
    bus::frame_t frame;
    direction_t direction;
  };

  const std::string bus_;
  const std::string interface_;
  mutable std::mutex mutex_;  // guards all below
  bool changed_ = true;
  bool up_ = false;
  std::uint64_t received_ = 0;
  std::uint64_t sent_ = 0;
  std::uint64_t refused_ = 0;
  std::uint64_t dropped_ = 0;
  std::map<std::string, std::uint64_t> identifiers_;
  std::deque<entry_t> frames_;
};

}  // namespace unit
