#include "host/crane/crane.h"

#include <algorithm>
#include <cmath>

namespace crane {
namespace {

constexpr pace_t kAnglePace{2.5, 1.2};
constexpr pace_t kLengthPace{0.8, 0.4};
constexpr pace_t kSwingPace{7, 2.5};
constexpr pace_t kRopePace{2.2, 1.5};
constexpr pace_t kLoadPace{6000, 12000};
constexpr pace_t kBasePace{0.4, 2};

constexpr double kParkedAngle = 5;
constexpr double kParkedDrop = 2.2;
constexpr double kMostLoad = 100'000;

constexpr double kTwoBlockDrop = 1.5;     // the switch's weight hangs that far below the sheaves
constexpr double kTwoBlockRelease = 1.8;  // and closes the switch again
constexpr double kHookBlock = 230;
constexpr double kManBasket = 320;  // with its crew

}  // namespace

Crane::Crane()
    : angle_(kParkedAngle, kAnglePace),
      length_(kMeasures.shortest, kLengthPace),
      swing_(0, kSwingPace),
      rope_(0, kRopePace),
      load_(0, kLoadPace),
      base_(static_cast<double>(Base::kTires), kBasePace) {
  rope_.Place(Length() + rigging_.parts * kParkedDrop);
}

void Crane::MoveAngle(double angle) {
  angle_.MoveTo(std::clamp(angle, kMeasures.leastAngle, kMeasures.mostAngle));
}

void Crane::MoveLength(double length) {
  length_.MoveTo(std::clamp(length, kMeasures.shortest, kMeasures.longest));
}

void Crane::MoveSwing(double swing) {
  constexpr double kMost = 360;
  swing_.MoveTo(std::clamp(swing, -kMost, kMost));
}

void Crane::MoveBase(Base base) {
  wantedBase_ = base;
  base_.MoveTo(static_cast<double>(base));
}

void Crane::SetLoad(double load) {
  load_.MoveTo(std::clamp(load, 0.0, kMostLoad));
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
  rigging_.parts = std::clamp(rigging_.parts, 1, kMostParts);
  rope_.Place(RopeFor(std::min(height, SheaveHeight() - kParkedDrop)));
}

// A hook on the ground goes no further; the rope is slack.
double Crane::HookDrop() const {
  return std::min((rope_.Position() - Length()) / rigging_.parts, SheaveHeight());
}

double Crane::HookSpeed() const {
  return -rope_.Speed() / rigging_.parts;
}

double Crane::HangingLoad() const {
  return NetLoad() + kHookBlock + (rigging_.manBasket ? kManBasket : 0);
}

pressures_t Crane::Pressures() const {
  const double lowering = std::clamp(-angle_.Speed() / kAnglePace.speed, 0.0, 1.0);
  return CylinderPressures(Length(), Angle(), HangingLoad(), Radius(), lowering);
}

Base Crane::SafeBase() const {
  return static_cast<Base>(std::floor(std::min(base_.Position(), static_cast<double>(wantedBase_))));
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
  twoBlocked_ = HookDrop() < (twoBlocked_ ? kTwoBlockRelease : kTwoBlockDrop);
  if (twoBlocked_ && length_.Target() > Length()) length_.Halt();
}

void Crane::Step(double dt) {
  for (Axis* axis : {&angle_, &length_, &swing_, &load_, &base_}) axis->Step(dt);
  StepHoist(dt);
  WatchHook();
}

}  // namespace crane
