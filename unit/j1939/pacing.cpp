#include "unit/j1939/pacing.h"

#include <algorithm>
#include <array>
#include <utility>

namespace unit {
namespace {

using std::chrono::milliseconds;

struct step_t {
  int below;
  milliseconds pause;
};
// Together some six seconds until the room is used up.
constexpr std::array<step_t, 5> STEPS = {{{1, Pacing::LONGEST},
                                          {8, milliseconds(250)},
                                          {64, milliseconds(32)},
                                          {256, milliseconds(4)},
                                          {Pacing::ENOUGH_ROOM, milliseconds(1)}}};

}  // namespace

milliseconds Pacing::PauseAfter(int room) {
  if (room < 0) return milliseconds(0);  // nobody took it: there is nothing to wait for
  if (room > 0) givenUp_ = false;
  if (room == 0 && std::exchange(givenUp_, true)) return milliseconds(0);
  const auto* step = std::ranges::find_if(STEPS, [room](const step_t& s) { return room < s.below; });
  return step == STEPS.end() ? milliseconds(0) : step->pause;
}

}  // namespace unit
