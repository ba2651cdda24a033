// The state of the unit for the front panel, collected from the messages of the services.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "unit/database/parameter_list.h"
#include "unit/panel/health_book.h"
#include "unit/panel/stream_hub.h"
#include "unit/screen/client/screen_client.h"
#include "unit/shown/beeper_judge.h"

namespace unit {

// The subscriber's thread calls the Accept functions, the pace thread Step; the server's threads read.
class PanelState {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  PanelState(StreamHub& hub, ScreenClient& screen, std::vector<parameter_t> parameters);

  void AcceptBoard(const std::string& message, TimePoint now);
  void AcceptBus(const std::string& message);
  void AcceptHealth(const std::string& message, TimePoint now) {
    if (health_.Accept(message, now)) healthChanged_ = true;
  }
  void AcceptScreen(const std::string& change);
  // A message of the J1939 service (unit/hostwatch/host_report.h).
  void AcceptHost(std::span<const std::uint8_t> message);
  void AcceptDatabase(std::span<const std::uint8_t> message);
  // The subscriptions were made again: messages may have been missed, so that the streams need the whole
  // screen.
  void AcceptReconnect();

  // Sends changed parameters to the streams ten times a second, and the health once a second and when a service
  // came up or went down. Reads all parameters once a second, since some parameters and most changes of
  // validity are not published.
  void Step(TimePoint now, bool connected);

  // The last messages, JSON; empty objects before the first one.
  std::string Board() const;
  std::string Bus() const;
  // What the operator hears: "silent", "beep", "pulse" or "steady".
  std::string_view Beeper(TimePoint now) const;
  // Seconds since the host last sent operating values; empty before the first.
  std::optional<double> HostValuesAge(TimePoint now) const;
  HealthBook::report_t Health(bool connected, TimePoint now) const;
  // {"parameters":[{"name":...,"handle":...,"value":...,"valid":...}]}; false when there is no database.
  bool Database(std::string& json) const;

  // The whole state as events, for a reader that is new or fell behind.
  std::string FullState(bool connected) const;

 private:
  void BroadcastScreen();
  void ReadParameters();
  void BroadcastParameters();

  StreamHub& hub_;
  ScreenClient& screen_;
  const std::vector<parameter_t> parameters_;
  HealthBook health_;
  std::atomic<bool> healthChanged_ = false;
  std::uint64_t screenRevision_ = 0;  // of the subscriber's thread

  mutable std::mutex mutex_;  // guards the five below
  std::string board_ = "{}", bus_ = "{}";
  BeeperJudge beeper_;
  TimePoint hostValuesAt_{};
  std::map<std::uint32_t, std::optional<double>> changed_;  // by handle; empty: not valid

  // Of the pace thread.
  std::map<std::uint32_t, std::optional<double>> read_;
  TimePoint nextDatabase_{}, nextSecond_{};
};

// The screen service's state without the picture: page, title, widgets, variables.
std::string WithoutPicture(const std::string& state);

}  // namespace unit
