// One movement of the crane: a position that goes to a target with finite speed and acceleration.
#pragma once

namespace crane {

struct pace_t {
  double speed;         // at most, units a second
  double acceleration;  // and deceleration, units a second squared
};

class Axis {
 public:
  Axis(double position, pace_t pace) : position_(position), target_(position), pace_(pace) {}
  void MoveTo(double target) { target_ = target; }
  // Comes to rest where it is, without a jerk's time: a valve that closes.
  void Halt();
  // Puts position and target there, at rest.
  void Place(double position);
  // Over `dt` seconds, 0.1 at most. Arrives exactly on the target.
  void Step(double dt);

  double Position() const { return position_; }
  double Target() const { return target_; }
  double Speed() const { return speed_; }  // units a second, with its sign
  bool AtRest() const { return speed_ == 0 && position_ == target_; }

 private:
  double position_;
  double target_;
  double speed_ = 0;
  pace_t pace_;
};

}  // namespace crane
