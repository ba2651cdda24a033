#include "host/log/player.h"

#include "src/core/frame_layout.h"

namespace host {

Schedule::TimePoint Schedule::Due(std::uint64_t stamp_us) {
  if (last_us_ && stamp_us > *last_us_) position_us_ += stamp_us - *last_us_;
  last_us_ = stamp_us;
  if (speed_ <= 0) return begin_;
  const auto since = std::chrono::duration<double, std::micro>(static_cast<double>(position_us_) / speed_);
  return begin_ + std::chrono::round<TimePoint::duration>(since);
}

namespace {

using delay_t = std::optional<Schedule::TimePoint::duration>;

// Both return the delay to add to every later frame's time; empty: stop.
delay_t PlayFrame(const bus::frame_t& frame, bool all, const player_hooks_t& hooks, play_counts_t& played) {
  if (!all && frame.extended && frame.identifier == DISPLAY_FRAME_ID) {
    ++played.skipped;
    return delay_t{0};
  }
  const auto before = hooks.now();
  if (!hooks.send(frame)) return std::nullopt;
  const auto took = hooks.now() - before;
  ++played.frames;
  hooks.progress();
  return took > BUS_AWAY ? took : Schedule::TimePoint::duration::zero();
}

delay_t PlayEvent(const recorded_event_t& event, bool all, const player_hooks_t& hooks, play_counts_t& played) {
  const auto* key = std::get_if<bus::key_change_t>(&event);
  return key != nullptr ? hooks.moveKey(*key) : PlayFrame(std::get<bus::frame_t>(event), all, hooks, played);
}

std::uint64_t TimeOf(const recorded_event_t& event) {
  return std::visit([](const auto& recorded) { return recorded.time_us; }, event);
}

}  // namespace

bool Play(const std::function<std::optional<recorded_event_t>()>& next, Schedule& schedule, bool all,
          const player_hooks_t& hooks, play_counts_t& played) {
  while (const auto event = next()) {
    const delay_t held = hooks.waitUntil(schedule.Due(TimeOf(*event)));
    if (!held) return false;
    schedule.Shift(*held);
    const delay_t later = PlayEvent(*event, all, hooks, played);
    if (!later) return false;
    schedule.Shift(*later);
  }
  return true;
}

}  // namespace host
