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

using put_off_t = std::optional<Schedule::TimePoint::duration>;

// Each gives back what all that follows is put off by; empty: stop.
put_off_t PlayFrame(const bus::frame_t& frame, bool all, const player_hooks_t& stage, play_counts_t& played) {
  if (!all && frame.extended && frame.identifier == DISPLAY_FRAME_ID) {
    ++played.passedOver;
    return put_off_t{0};
  }
  const auto before = stage.now();
  if (!stage.send(frame)) return std::nullopt;
  const auto took = stage.now() - before;
  ++played.frames;
  stage.progress();
  return took > BUS_AWAY ? took : Schedule::TimePoint::duration::zero();
}

put_off_t PlayHappening(const recorded_event_t& happening, bool all, const player_hooks_t& stage,
                        play_counts_t& played) {
  const auto* key = std::get_if<bus::key_change_t>(&happening);
  return key != nullptr ? stage.moveKey(*key)
                        : PlayFrame(std::get<bus::frame_t>(happening), all, stage, played);
}

std::uint64_t TimeOf(const recorded_event_t& happening) {
  return std::visit([](const auto& what) { return what.time_us; }, happening);
}

}  // namespace

bool Play(const std::function<std::optional<recorded_event_t>()>& next, Schedule& schedule, bool all,
          const player_hooks_t& stage, play_counts_t& played) {
  while (const auto happening = next()) {
    const put_off_t held = stage.waitUntil(schedule.Due(TimeOf(*happening)));
    if (!held) return false;
    schedule.Shift(*held);
    const put_off_t later = PlayHappening(*happening, all, stage, played);
    if (!later) return false;
    schedule.Shift(*later);
  }
  return true;
}

}  // namespace host
