// The mechanics of the crane: its movements, its rigging and its load. It has no clock; the load computer calls
// Step. Units: metres, kilograms, degrees, seconds, bar.
#pragma once

#include <optional>

#include "host/crane/axis.h"
#include "host/crane/geometry.h"
#include "host/crane/rigging.h"

namespace crane {

class Crane {
 public:
  Crane();

  // Set the target of a movement; a target beyond the crane's range becomes the end of the range.
  void MoveAngle(double angle);
  void MoveLength(double length);
  void MoveSwing(double swing);  // -360 to 360
  void MoveBase(base_t base);
  void SetLoad(double load);  // on the hook, without the hook block; the ropes take it up in about a second
  // Moves the hook to a height above the ground and stops the winch there. Later movements of the boom move the
  // hook.
  void HoistTo(double height);
  // Moves the hook to a height, and the winch then follows the boom to keep the hook there.
  void HoldHook(double height);
  void StopHoist();
  void StopAll();
  // Changes the rigging at once. The hook stays at its height if the parts of line change.
  void Rig(const rigging_t& rigging);

  void Step(double dt);

  double Length() const { return length_.Position(); }
  double Extension() const { return Length() - MEASURES.shortest; }
  double Angle() const { return angle_.Position(); }
  double Swing() const { return swing_.Position(); }
  area_t Over() const { return AreaOf(Swing()); }
  double Radius() const { return Sheaves().radius; }
  double SheaveHeight() const { return Sheaves().height; }
  double HookDrop() const;  // from the sheaves down to the hook
  double HookHeight() const { return SheaveHeight() - HookDrop(); }
  double HookSpeed() const;  // upwards, from the winch alone
  double LineSpeed() const { return rope_.Speed(); }
  // Everything on the rope: load, hook block and basket.
  double HangingLoad() const;
  double NetLoad() const { return load_.Position(); }
  pressures_t Pressures() const;
  // True if the hook has reached the boom head and opened the switch there. Winch and telescope then stop in
  // the direction that pulls the hook further up.
  bool TwoBlocked() const { return twoBlocked_; }
  const rigging_t& Rigging() const { return rigging_; }

  base_t WantedBase() const { return wantedBase_; }
  // The base that the load chart may count on: the weaker one while the outriggers move.
  base_t SafeBase() const;
  bool BaseMoves() const { return !base_.AtRest(); }
  bool AtRest() const;

 private:
  point_t Sheaves() const { return SheavesAt(Length(), Angle(), rigging_.pick, rigging_.jib); }
  double RopeFor(double height) const;
  void StepHoist(double dt);
  void WatchHook();

  rigging_t rigging_;
  base_t wantedBase_ = base_t::TIRES;
  Axis angle_;
  Axis length_;
  Axis swing_;
  Axis rope_;  // paid-out length: along the boom, and once for each part of line below it
  Axis load_;
  Axis base_;                     // a number of base_t, or between two
  std::optional<double> height_;  // the winch's target, if any
  bool hold_ = false;
  bool twoBlocked_ = false;
};

}  // namespace crane
