#include "unit/j1939/pacing.h"

#include <algorithm>
#include <array>
#include <utility>

namespace unit {
namespace {

using std::chrono::milliseconds;

struct pause_step_t {
  int below;
  milliseconds pause;
};
// These pauses add up to some six seconds until the queue is full.
constexpr std::array<pause_step_t, 5> STEPS = {{{1, Pacing::LONGEST},
                                                {8, milliseconds(250)},
                                                {64, milliseconds(32)},
                                                {256, milliseconds(4)},
                                                {Pacing::ENOUGH_ROOM, milliseconds(1)}}};

}  // namespace

milliseconds Pacing::PauseAfter(int room) {
  if (room < 0) return milliseconds(0);  // no subscriber: there is nothing to wait for
  if (room > 0) givenUp_ = false;
  if (room == 0 && std::exchange(givenUp_, true)) return milliseconds(0);
  const auto* step = std::ranges::find_if(STEPS, [room](const pause_step_t& s) { return room < s.below; });
  return step == STEPS.end() ? milliseconds(0) : step->pause;
}

}  // namespace unit
