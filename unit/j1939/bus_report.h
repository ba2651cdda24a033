// The counts and the last frames of the bus, as they are published on BUS_CHANNEL_NAME.
//
// {"bus":"local","interface":"can0","state":"up","received":1,"sent":0,"refused":0,"dropped":0,"short":0,
//  "identifiers":{"18FF00D0":1},
//  "frames":[{"time":1436509052.249713,"id":"18FF00D0","data":"0001060000000000","direction":"rx"}]}
//
// "rx" is a frame to the display unit, "tx" one from it. The frames are in the order of the bus. An identifier
// of eight digits has 29 bits, one of three digits 11.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "bus/can_frame.h"

namespace unit {

// Any thread.
class BusReport {
 public:
  static constexpr std::size_t LAST_FRAMES = 50;
  static constexpr std::size_t MAX_IDENTIFIERS = 64;  // frames with further ones count in the sums only

  enum class direction_t { RECEIVED, SENT };

  BusReport(std::string bus, std::string interface) : bus_(std::move(bus)), interface_(std::move(interface)) {}

  void Note(const bus::frame_t& frame, direction_t direction);
  void NoteRefused();
  void NoteDropped();
  void NoteShort();  // a frame of the host with fewer than eight bytes, which is not delivered
  void SetUp(bool up);

  // The report; empty when nothing changed since the last call.
  std::optional<std::string> DrainIfChanged();
  std::map<std::string, std::uint64_t> Counters() const;
  bool IsUp() const;

 private:
  struct seen_frame_t {
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
  std::uint64_t short_ = 0;
  std::map<std::string, std::uint64_t> identifiers_;
  std::deque<seen_frame_t> frames_;
};

}  // namespace unit
