#include "host/player.h"

#include "hostlink/frame_layout.h"

namespace host {

Schedule::TimePoint Schedule::Due(std::uint64_t stamp_us) {
  if (last_us_ && stamp_us > *last_us_) position_us_ += stamp_us - *last_us_;
  last_us_ = stamp_us;
  if (speed_ <= 0) return begin_;
  const auto since = std::chrono::duration<double, std::micro>(static_cast<double>(position_us_) / speed_);
  return begin_ + std::chrono::round<TimePoint::duration>(since);
}

bool Play(const std::function<std::optional<bus::frame_t>()>& next, Schedule& schedule, bool all,
          const stage_t& stage, played_t& played) {
  while (const auto frame = next()) {
    const auto held = stage.waitUntil(schedule.Due(frame->time_us));
    if (!held) return false;
    schedule.Shift(*held);
    if (!all && frame->extended && frame->identifier == DISPLAY_FRAME_ID) {
      ++played.passedOver;
      continue;
    }
    const auto before = stage.now();
    if (!stage.send(*frame)) return false;
    const auto took = stage.now() - before;
    if (took > kBusAway) schedule.Shift(took);
    ++played.frames;
    stage.progress();
  }
  return true;
}

}  // namespace host
