// Plays recorded frames, and the front keys noted beside them, at the pace of their recording.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <variant>

#include "bus/can_frame.h"
#include "bus/key_log.h"

namespace host {

// The time of the recorded frames on the clock of now. Every frame has an absolute time, reckoned from the
// beginning in whole microseconds, so that errors of single waits never add up.
class Schedule {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  // `speed` 2 plays in half the time; 0 is as fast as it goes: every frame is due at once.
  Schedule(TimePoint begin, double speed) : begin_(begin), speed_(speed) {}
  // When the next frame is due. A stamp that lies before the one before it (a clock that was set back) is due
  // with it.
  TimePoint Due(std::uint64_t stamp_us);
  // Puts off all that follows, after a pause that was not in the recording.
  void Shift(TimePoint::duration by) { begin_ += by; }
  // The recording begins again, right behind its last frame.
  void Rewind() { last_us_.reset(); }
  // Recorded time played so far.
  std::chrono::microseconds Position() const { return std::chrono::microseconds(position_us_); }

 private:
  TimePoint begin_;
  double speed_;
  std::uint64_t position_us_ = 0;
  std::optional<std::uint64_t> last_us_;
};

// A frame that took longer than this to send found the bus away. The recording goes on from there instead of
// catching up in one burst.
constexpr std::chrono::milliseconds BUS_AWAY{500};

using recorded_event_t = std::variant<bus::frame_t, bus::key_change_t>;

// What the player needs of the world; a test gives it a clock of its own.
struct player_hooks_t {
  std::function<Schedule::TimePoint()> now;
  // Waits until then and as much longer as somebody holds the log, which is what it gives back; empty: stop.
  std::function<std::optional<Schedule::TimePoint::duration>(Schedule::TimePoint)> waitUntil;
  std::function<bool(const bus::frame_t&)> send;  // false: stop
  std::function<void()> progress;                 // after each frame
  // Moves a key; gives back what all that follows is put off by; empty: stop.
  std::function<std::optional<Schedule::TimePoint::duration>(const bus::key_change_t&)> moveKey;
};

struct play_counts_t {
  std::uint64_t frames = 0;
  std::uint64_t passedOver = 0;  // frames of the display
};

// Plays what `next` gives until it gives nothing (or the stage stops it), and adds to `played`. Frames of the
// display itself are passed over unless `all` is set: the display that listens has its own to say.
bool Play(const std::function<std::optional<recorded_event_t>()>& next, Schedule& schedule, bool all,
          const player_hooks_t& stage, play_counts_t& played);

}  // namespace host
