// Slows down the bus while the application does not keep up with its frames.
#pragma once

#include <chrono>

namespace unit {

// Computes the pause after each delivered frame from the room that the fullest subscriber's queue has left.
// Below ENOUGH_ROOM the pause is 1 ms; it grows as the room shrinks, so that a subscriber that stops for some
// seconds loses no frame. A subscriber whose queue stays full gets one pause of LONGEST; then the bus runs on
// for the others.
class Pacing {
 public:
  static constexpr int ENOUGH_ROOM = 512;
  static constexpr std::chrono::milliseconds LONGEST{2000};

  // `room`: the result of the delivery, in messages; negative when no subscriber took the frame.
  std::chrono::milliseconds PauseAfter(int room);

 private:
  bool givenUp_ = false;
};

}  // namespace unit
