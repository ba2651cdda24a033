// Supervision of the application's workers by the heartbeat events that they publish.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace unit {

// One thread at a time uses an object.
class HeartbeatMonitor {
 public:
  using time_t = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds MISSING_AFTER{2};
  // An application that announces its end has its workers stop within this time; none is missed for it.
  static constexpr std::chrono::seconds LEAVING_TIME{6};

  struct worker_t {
    const char* name;   // "Decapsulate", "Parse", "Dispatch"
    const char* event;  // the event's name in the generic configuration
    std::optional<std::uint32_t> id;
    std::optional<time_t> lastSeen;  // empty until the first heartbeat: nothing is expected before
    bool missing = false;
  };

  // Reads the event channel's name and the heartbeats' numbers from the generic configuration. Returns what is
  // wrong with the file, empty when nothing is; a number that it does not give is not supervised.
  std::string Load(const std::string& genericFile);
  const std::string& ChannelName() const { return channelName_; }
  void SetChannel(int channel) { channel_ = channel; }

  // Looks at an event: a heartbeat, or the application's end. Returns a line to print when it is the first
  // after a pause that was reported.
  std::optional<std::string> Note(int channel, std::span<const std::uint8_t> payload, time_t now);
  // Looks for workers that have fallen silent. Returns the lines to print.
  std::vector<std::string> Check(time_t now);

  const std::array<worker_t, 3>& Workers() const { return workers_; }

 private:
  bool NoteEnd(std::uint32_t event, time_t now);

  std::string channelName_;
  int channel_ = 0;
  std::optional<std::uint32_t> exitId_;
  time_t leavingUntil_{};
  std::array<worker_t, 3> workers_{{{"Decapsulate", "orvik.DecapsulateHeartbeatEvent", {}, {}},
                                    {"Parse", "orvik.ParseHeartbeatEvent", {}, {}},
                                    {"Dispatch", "orvik.DispatchHeartbeatEvent", {}, {}}}};
};

}  // namespace unit
