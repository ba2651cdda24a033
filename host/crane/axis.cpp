#include "host/crane/axis.h"

#include <algorithm>
#include <cmath>

namespace crane {

void Axis::Halt() {
  target_ = position_;
  speed_ = 0;
}

void Axis::Place(double position) {
  position_ = position;
  Halt();
}

void Axis::Step(double dt) {
  const double distance = target_ - position_;
  const double change = pace_.acceleration * dt;
  // The highest speed from which it can still stop at the target, with this step's distance included.
  const double stopping = std::sqrt(change * change + 2 * pace_.acceleration * std::abs(distance)) - change;
  const double wanted = std::copysign(std::min(pace_.speed, stopping), distance);
  speed_ += std::clamp(wanted - speed_, -change, change);
  position_ += speed_ * dt;
  // Within one step of the target, and slow enough to stop in one step: it has arrived.
  if (std::abs(target_ - position_) <= change * dt && std::abs(speed_) <= 2 * change) Place(target_);
}

}  // namespace crane
