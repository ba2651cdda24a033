// What the screen shows, from the messages that reach it: the rules of the screen service without its threads,
// its clock and its connections. The owner says what time it is and locks the object.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/line_limiter.h"
#include "unit/screen/compositor/compositor.h"
#include "unit/screen/compositor/picture_store.h"
#include "unit/screen/design/screen_model.h"
#include "unit/screen/live/fault_feed.h"
#include "unit/screen/live/host_feed.h"
#include "unit/screen/live/variable_feed.h"

namespace unit {

// Where a message comes from.
enum class screen_source_t : std::uint8_t {
  APPLICATION,  // texts, attributes and "process commands"
  DATABASE,     // changed parameters
  FAULTS,       // active faults of the control units
  MARKS,        // the service's own, see MakeMark
  HOST,         // how old the host's values are
  PROGRAM,      // the application begins or ends
  EVENTS        // of the application
};
constexpr std::size_t SCREEN_SOURCES = 7;

class LiveScreen {
 public:
  using Clock = std::chrono::steady_clock;
  using TimePoint = Clock::time_point;
  static constexpr TimePoint NEVER = TimePoint::max();
  static constexpr std::chrono::milliseconds PACE{20};       // from a change to its publication
  static constexpr std::chrono::milliseconds IDLE_PACE{50};  // between two steps at most

  // `print` gets a line for each message that is not understood, at most one a second of a kind.
  LiveScreen(ScreenModel model, std::function<void(const std::string&)> print, TimePoint now);

  // Takes a message. Returns by when Step has to be called; NEVER when the message can wait.
  TimePoint Accept(screen_source_t source, std::span<const std::uint8_t> payload, TimePoint now);
  // Takes a message of a drawing layer. Step has to be called within PACE.
  compositor_reply_t AcceptDrawing(std::span<const std::uint8_t> message, TimePoint now);
  // Carries out the texts that have waited too long for "process commands", and sets the state of the data.
  void Step(TimePoint now);
  // Sets the state of the data alone.
  void UpdateDataState(TimePoint now);
  // Reads all variables anew. The caller holds the DatabaseView that `database` is the number of; it is not 0.
  void ReadVariables(unsigned database) { variables_.ReadAll(database); }

  // A mark comes back behind everything that waited when it was sent, and so tells how late the other messages
  // are: until one comes back, and when the newest is old, values are not current.
  static std::array<std::uint8_t, sizeof(std::int64_t)> MakeMark(TimePoint now);

  ScreenModel& Model() { return model_; }
  const ScreenModel& Model() const { return model_; }
  const compositor_counters_t& Drawings() const { return compositor_.Counters(); }
  std::uint64_t Malformed() const { return malformed_; }
  bool IsProgramHeard() const { return programHeard_; }

 private:
  using accept_t = TimePoint (LiveScreen::*)(std::span<const std::uint8_t> payload, TimePoint now);
  static const std::array<accept_t, SCREEN_SOURCES> ACCEPT;  // by screen_source_t

  TimePoint AcceptScreenMessage(std::span<const std::uint8_t> payload, TimePoint now);
  TimePoint AcceptVariable(std::span<const std::uint8_t> payload, TimePoint now);
  TimePoint AcceptFaults(std::span<const std::uint8_t> payload, TimePoint now);
  TimePoint AcceptMark(std::span<const std::uint8_t> payload, TimePoint now);
  TimePoint AcceptHost(std::span<const std::uint8_t> payload, TimePoint now);
  TimePoint AcceptProgram(std::span<const std::uint8_t> payload, TimePoint now);
  TimePoint AcceptEvent(std::span<const std::uint8_t> payload, TimePoint now);
  void NoteProgram(TimePoint now);
  bool IsBehind(TimePoint now) const;
  void Report(base::LineLimiter& limiter, const std::string& what, TimePoint now);

  ScreenModel model_;
  VariableFeed variables_;
  FaultFeed faults_;
  HostFeed host_;
  PictureStore pictures_;
  Compositor compositor_;
  std::function<void(const std::string&)> print_;
  TimePoint lastProgramMessage_, lastStep_, resumedAt_, newestMark_{};
  TimePoint programBackAt_{};  // after its last silence
  bool programHeard_ = false;
  TimePoint pendingSince_{};
  std::uint64_t malformed_ = 0;
  base::LineLimiter malformedLines_, unknownLines_, pictureLines_;
};

}  // namespace unit
