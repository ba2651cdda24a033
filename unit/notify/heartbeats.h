// Supervises the application's workers by the heartbeat events that they publish.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace unit {

// Only one thread at a time may use an object.
class HeartbeatMonitor {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds MISSING_AFTER{2};
  // An application that announces its end stops its workers within this time; heartbeats in this time do not
  // count.
  static constexpr std::chrono::seconds LEAVING_TIME{6};

  struct watched_worker_t {
    const char* name;   // "Decapsulate", "Parse", "Dispatch"
    const char* event;  // the event's name in the generic configuration
    std::optional<std::uint32_t> id;
    std::optional<TimePoint> lastSeen;  // empty until the first heartbeat of any worker; until then none is due
    bool missing = false;
  };

  // Reads the event channel's name and the heartbeats' numbers from the generic configuration. Returns the
  // file's problem, empty when it has none. A worker without a number is not supervised.
  std::string ReadEvents(const std::string& genericFile);
  const std::string& ChannelName() const { return channelName_; }
  void SetChannel(int channel) { channel_ = channel; }

  // Takes an event: a heartbeat, or the application's end. Returns a line to print when the heartbeat is the
  // first after a reported pause.
  std::optional<std::string> Note(int channel, std::span<const std::uint8_t> payload, TimePoint now);
  bool IsHeartbeat(std::span<const std::uint8_t> event) const;
  // Finds the workers that are silent. Returns the lines to print.
  std::vector<std::string> Check(TimePoint now);

  const std::array<watched_worker_t, 3>& Workers() const { return workers_; }

 private:
  bool NoteEnd(std::uint32_t event, TimePoint now);

  std::string channelName_;
  int channel_ = 0;
  std::optional<std::uint32_t> exitId_;
  TimePoint leavingUntil_{};
  std::array<watched_worker_t, 3> workers_{{{"Decapsulate", "orvik.DecapsulateHeartbeatEvent", {}, {}},
                                            {"Parse", "orvik.ParseHeartbeatEvent", {}, {}},
                                            {"Dispatch", "orvik.DispatchHeartbeatEvent", {}, {}}}};
};

}  // namespace unit
