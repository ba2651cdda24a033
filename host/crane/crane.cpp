#include "host/crane/crane.h"

#include <algorithm>
#include <cmath>

namespace crane {
namespace {

constexpr pace_t ANGLE_PACE{2.5, 1.2};
constexpr pace_t LENGTH_PACE{0.8, 0.4};
constexpr pace_t SWING_PACE{7, 2.5};
constexpr pace_t ROPE_PACE{2.2, 1.5};
constexpr pace_t LOAD_PACE{6000, 12000};
constexpr pace_t BASE_PACE{0.4, 2};

constexpr double PARKED_ANGLE = 5;
constexpr double PARKED_DROP = 2.2;
constexpr double MOST_LOAD = 100'000;

constexpr double TWO_BLOCK_DROP = 1.5;     // the switch's weight hangs so far below the sheaves
constexpr double TWO_BLOCK_RELEASE = 1.8;  // the switch closes again
constexpr double HOOK_BLOCK = 230;
constexpr double MAN_BASKET = 320;  // with its crew

}  // namespace

Crane::Crane()
    : angle_(PARKED_ANGLE, ANGLE_PACE),
      length_(MEASURES.shortest, LENGTH_PACE),
      swing_(0, SWING_PACE),
      rope_(0, ROPE_PACE),
      load_(0, LOAD_PACE),
      base_(static_cast<double>(base_t::TIRES), BASE_PACE) {
  rope_.Place(Length() + rigging_.parts * PARKED_DROP);
}

void Crane::MoveAngle(double angle) {
  angle_.MoveTo(std::clamp(angle, MEASURES.leastAngle, MEASURES.mostAngle));
}

void Crane::MoveLength(double length) {
  length_.MoveTo(std::clamp(length, MEASURES.shortest, MEASURES.longest));
}

void Crane::MoveSwing(double swing) {
  constexpr double MOST = 360;
  swing_.MoveTo(std::clamp(swing, -MOST, MOST));
}

void Crane::MoveBase(base_t base) {
  wantedBase_ = base;
  base_.MoveTo(static_cast<double>(base));
}

void Crane::SetLoad(double load) {
  load_.MoveTo(std::clamp(load, 0.0, MOST_LOAD));
}

void Crane::HoistTo(double height) {
  height_ = std::max(height, 0.0);
  hold_ = false;
}

void Crane::HoldHook(double height) {
  HoistTo(height);
  hold_ = true;
}

void Crane::StopHoist() {
  height_.reset();
  rope_.Halt();
}

void Crane::StopAll() {
  for (Axis* axis : {&angle_, &length_, &swing_, &load_}) axis->Halt();
  StopHoist();
}

void Crane::Rig(const rigging_t& rigging) {
  const double height = HookHeight();
  rigging_ = rigging;
  rigging_.parts = std::clamp(rigging_.parts, 1, MOST_PARTS);
  rope_.Place(RopeFor(std::min(height, SheaveHeight() - PARKED_DROP)));
}

// A hook on the ground does not go lower; the rope is slack.
double Crane::HookDrop() const {
  return std::min((rope_.Position() - Length()) / rigging_.parts, SheaveHeight());
}

double Crane::HookSpeed() const {
  return -rope_.Speed() / rigging_.parts;
}

double Crane::HangingLoad() const {
  return NetLoad() + HOOK_BLOCK + (rigging_.manBasket ? MAN_BASKET : 0);
}

pressures_t Crane::Pressures() const {
  const double lowering = std::clamp(-angle_.Speed() / ANGLE_PACE.speed, 0.0, 1.0);
  return CylinderPressures(Length(), Angle(), HangingLoad(), Radius(), lowering);
}

base_t Crane::SafeBase() const {
  return static_cast<base_t>(std::floor(std::min(base_.Position(), static_cast<double>(wantedBase_))));
}

bool Crane::AtRest() const {
  return angle_.AtRest() && length_.AtRest() && swing_.AtRest() && rope_.AtRest() && load_.AtRest() &&
         base_.AtRest();
}

double Crane::RopeFor(double height) const {
  return Length() + rigging_.parts * (SheaveHeight() - height);
}

void Crane::StepHoist(double dt) {
  if (height_) rope_.MoveTo(RopeFor(*height_));
  const bool upwards = rope_.Target() < rope_.Position();
  if (twoBlocked_ && upwards) rope_.Halt();
  rope_.Step(dt);
  if (height_ && !hold_ && rope_.AtRest()) height_.reset();
}

void Crane::WatchHook() {
  twoBlocked_ = HookDrop() < (twoBlocked_ ? TWO_BLOCK_RELEASE : TWO_BLOCK_DROP);
  if (twoBlocked_ && length_.Target() > Length()) length_.Halt();
}

void Crane::Step(double dt) {
  for (Axis* axis : {&angle_, &length_, &swing_, &load_, &base_}) axis->Step(dt);
  StepHoist(dt);
  WatchHook();
}

}  // namespace crane
