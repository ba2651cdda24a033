// The crane as a body that moves. It has no clock: whoever owns it steps it through time.
// Metres, kilograms, degrees, seconds, bar.
#pragma once

#include <optional>

#include "host/crane/axis.h"
#include "host/crane/geometry.h"
#include "host/crane/rigging.h"

namespace crane {

constexpr int MOST_PARTS = 12;  // parts of line that the hook block can be reeved with

struct rigging_t {
  bool counterweight = true;
  jib_t jib = jib_t::STOWED;
  pick_t pick = pick_t::MAIN_BOOM;
  winch_t winch = winch_t::FRONT;
  bool auxHead = false;
  bool manBasket = false;
  bool manualBoom = false;  // the sections are telescoped one by one, not together
  int parts = 4;
};

class Crane {
 public:
  Crane();

  // Targets; what lies beyond the crane's reach is cut to it.
  void MoveAngle(double angle);
  void MoveLength(double length);
  void MoveSwing(double swing);  // -360 to 360
  void MoveBase(base_t base);
  void SetLoad(double load);  // what the hook carries beside itself; the ropes take it up in about a second
  // The hook to a height over the ground, where the winch stops: what the boom does then moves the hook.
  void HoistTo(double height);
  // The same, and the winch follows the boom to keep it there.
  void HoldHook(double height);
  void StopHoist();
  void StopAll();
  // Rigging takes no time. New parts of line leave the hook where it hangs.
  void Rig(const rigging_t& rigging);

  void Step(double dt);

  double Length() const { return length_.Position(); }
  double Extension() const { return Length() - MEASURES.shortest; }
  double Angle() const { return angle_.Position(); }
  double Swing() const { return swing_.Position(); }
  area_t Over() const { return AreaOf(Swing()); }
  double Radius() const { return Sheaves().radius; }
  double SheaveHeight() const { return Sheaves().height; }
  double HookDrop() const;  // from the sheaves to the hook
  double HookHeight() const { return SheaveHeight() - HookDrop(); }
  double HookSpeed() const;  // upwards, by the winch alone
  double LineSpeed() const { return rope_.Speed(); }
  // Everything that hangs: load, hook block and basket.
  double HangingLoad() const;
  double NetLoad() const { return load_.Position(); }
  pressures_t Pressures() const;
  // The hook has come up to the boom's head: the switch on the head has opened. Winch and telescope stop by
  // themselves in the direction that makes it worse.
  bool TwoBlocked() const { return twoBlocked_; }
  const rigging_t& Rigging() const { return rigging_; }

  base_t WantedBase() const { return wantedBase_; }
  // What it can be reckoned to stand on: while the outriggers move, the lesser.
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
  Axis rope_;  // paid out: along the boom, and once for each part of line below it
  Axis load_;
  Axis base_;                     // the number of the Base
  std::optional<double> height_;  // that the winch works towards
  bool hold_ = false;
  bool twoBlocked_ = false;
};

}  // namespace crane
