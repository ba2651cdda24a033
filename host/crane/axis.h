// One movement of the crane: a position that moves to a target with limited speed and acceleration.
#pragma once

namespace crane {

struct pace_t {
  double speed;         // the highest, in units per second
  double acceleration;  // and deceleration, in units per second squared
};

class Axis {
 public:
  Axis(double position, pace_t pace) : position_(position), target_(position), pace_(pace) {}
  void MoveTo(double target) { target_ = target; }
  // Stops at once at the present position, like a valve that closes.
  void Halt();
  // Sets position and target; at rest.
  void Place(double position);
  // Moves for `dt` seconds, at most 0.1. The movement ends exactly at the target.
  void Step(double dt);

  double Position() const { return position_; }
  double Target() const { return target_; }
  double Speed() const { return speed_; }  // units per second, negative towards lower positions
  bool AtRest() const { return speed_ == 0 && position_ == target_; }

 private:
  double position_;
  double target_;
  double speed_ = 0;
  pace_t pace_;
};

}  // namespace crane
