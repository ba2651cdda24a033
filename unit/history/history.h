// The last ten minutes of the screen, the beeper and the keys, in bounded memory.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "unit/history/history_source.h"
#include "unit/history/screen_ring.h"
#include "unit/history/span_ring.h"
#include "unit/history/value_ring.h"

namespace unit {

// One thread calls the Accept functions.
class History : public HistorySource {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  // Asks the screen service for its state. Returns false where it does not answer; may wait.
  using ask_t = std::function<bool(std::string& state)>;
  // The screen service sends a sign twice a second. After so long without one the screen is not known.
  static constexpr std::int64_t SILENCE_MS = 2'000;
  // So long after the whole screen was asked for, messages that the answer contains already may still come.
  // Later ones of a lower revision are of a service that was started again.
  static constexpr std::int64_t BACKLOG_MS = 2'000;

  History(ask_t askScreen, std::function<TimePoint()> clock);

  // A message of the screen service (unit/screen/client/screen_requests.h).
  void AcceptScreen(const std::string& message);
  // A message of the board: FormatBoard in unit/board/board_view.h.
  void AcceptBoard(const std::string& message);
  // Messages may have been missed.
  void AcceptReconnect();

  std::string Overview(std::int64_t after_ms) override;
  std::string Screens(std::uint64_t number) override;

 private:
  std::int64_t Now_ms() const;
  bool IsContained(const nlohmann::json& change, std::int64_t now_ms) const;
  void TakeWhole(std::int64_t now_ms);
  void TakeChange(const nlohmann::json& change, std::int64_t now_ms);
  void NoteVariables(const nlohmann::json& message);
  void NoteState(std::int64_t now_ms);
  void NoteBands(std::int64_t now_ms, int dataState);
  void NoteSilence(std::int64_t now_ms);
  void NoteUnknown(std::int64_t now_ms);
  double ValueOf(const char* variable) const;

  const ask_t askScreen_;
  const std::function<TimePoint()> clock_;
  const TimePoint begin_;

  std::mutex mutex_;  // guards all below
  ScreenRing screens_;
  ValueRing values_;
  SpanRing spans_;
  std::map<std::string, double> variables_;  // those with a value
  std::string page_;
  bool isMetric_ = false;
  bool isKnown_ = false;  // what the screen shows
  std::uint64_t revision_ = 0;
  std::int64_t whole_ms_ = 0;  // when the whole screen was asked for last
  std::int64_t heard_ms_ = 0;
  std::optional<std::uint64_t> pulses_;  // of the beeper, as the board counts them
};

}  // namespace unit
