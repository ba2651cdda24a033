// What the front panel knows of the unit, gathered from the channels that its services publish on.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "unit/database/parameter_list.h"
#include "unit/panel/health_book.h"
#include "unit/panel/stream_hub.h"

namespace unit {

// The subscriber's thread takes messages, the pace thread steps, the server's threads read.
class PanelState {
 public:
  using time_t = std::chrono::steady_clock::time_point;

  PanelState(StreamHub& hub, std::vector<parameter_t> parameters);

  void TakeBoard(const std::string& message);
  void TakeBus(const std::string& message);
  void TakeHealth(const std::string& message, time_t now) { health_.Take(message, now); }
  void TakeScreen(const std::string& change);
  void TakeDatabase(std::span<const std::uint8_t> message);
  // The subscriptions were made anew: what the streams show may be old.
  void TakeReconnect();

  // Hands changed parameters to the streams ten times a second. Once a second it hands on the health, and reads
  // all parameters, since most changes of validity and some parameters' values are not published.
  void Step(time_t now, bool connected);

  // JSON; empty objects until somebody published.
  std::string Board() const;
  std::string Bus() const;
  HealthBook::report_t Health(bool connected, time_t now) const;
  // {"parameters":[{"name":...,"handle":...,"value":...,"valid":...}]}; false when there is no database.
  bool Database(std::string& json) const;

  // Everything that a stream's reader needs first, as events.
  std::string FullState(bool connected) const;

 private:
  void BroadcastScreen();
  void ReadParameters();
  void BroadcastParameters();

  StreamHub& hub_;
  const std::vector<parameter_t> parameters_;
  HealthBook health_;
  std::uint64_t screenRevision_ = 0;  // the subscriber's thread's

  mutable std::mutex mutex_;  // guards the three below
  std::string board_ = "{}", bus_ = "{}";
  std::map<std::uint32_t, std::optional<double>> changed_;  // by handle; empty: not valid

  // The pace thread's.
  std::map<std::uint32_t, std::optional<double>> read_;
  time_t nextDatabase_{}, nextSecond_{};
};

// Reads {"down":true}. False when it is anything else.
bool ReadKeyRequest(const std::string& body, bool& down);
// The screen service's state without the picture: page, title, widgets, variables.
std::string WithoutPicture(const std::string& state);

}  // namespace unit
