// Plays recorded frames, and the front keys of the same recording, at the recorded pace.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <variant>

#include "bus/can_frame.h"
#include "bus/key_log.h"

namespace host {

// Converts recorded times to times of the steady clock. Each frame's time is computed from the beginning of the
// recording in whole microseconds, so that the errors of single waits do not add up.
class Schedule {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  // `speed` 2 plays in half the time; with 0 every frame is due at once.
  Schedule(TimePoint begin, double speed) : begin_(begin), speed_(speed) {}
  // When the next frame is due. A frame with an earlier stamp than the one before (the recorder's clock was set
  // back) is due at the same time as that one.
  TimePoint Due(std::uint64_t stamp_us);
  // Delays all later frames, after a pause that is not in the recording.
  void Shift(TimePoint::duration by) { begin_ += by; }
  // The recording begins again right after its last frame.
  void Rewind() { last_us_.reset(); }
  // Recorded time played so far.
  std::chrono::microseconds Position() const { return std::chrono::microseconds(position_us_); }

 private:
  TimePoint begin_;
  double speed_;
  std::uint64_t position_us_ = 0;
  std::optional<std::uint64_t> last_us_;
};

// If sending a frame took longer than this, the bus was lost meanwhile. The player then delays the rest of the
// recording instead of sending the missed frames in one burst.
constexpr std::chrono::milliseconds BUS_AWAY{500};

using recorded_event_t = std::variant<bus::frame_t, bus::key_change_t>;

// What the player calls; a test gives it a clock of its own.
struct player_hooks_t {
  std::function<Schedule::TimePoint()> now;
  // Waits until the given time, and longer while the log is paused. Returns the time paused, or empty to stop.
  std::function<std::optional<Schedule::TimePoint::duration>(Schedule::TimePoint)> waitUntil;
  std::function<bool(const bus::frame_t&)> send;  // false: stop
  std::function<void()> progress;                 // after each frame
  // Presses or releases a key. Returns the delay to add to every later frame's time, or empty to stop.
  std::function<std::optional<Schedule::TimePoint::duration>(const bus::key_change_t&)> moveKey;
};

struct play_counts_t {
  std::uint64_t frames = 0;
  std::uint64_t skipped = 0;  // frames of the display
};

// Plays the events that `next` returns until it returns nothing or a hook stops it, and adds to `played`.
// Frames of the display are skipped unless `all` is set: the display on the bus sends its own. Returns false if
// stopped.
bool Play(const std::function<std::optional<recorded_event_t>()>& next, Schedule& schedule, bool all,
          const player_hooks_t& hooks, play_counts_t& played);

}  // namespace host
