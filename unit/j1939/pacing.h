// How the bus is slowed down while the application does not keep up with its frames.
#pragma once

#include <chrono>

namespace unit {

// Decides on the pause after each delivered frame from the room that is left at the fullest subscriber. Below
// ENOUGH_ROOM it is 1 ms, longer as the room goes to its end, so that a subscriber that has stopped for some
// seconds still loses nothing. A subscriber that stays full is given up after one pause of LONGEST: the bus
// then goes on for the others.
class Pacing {
 public:
  static constexpr int ENOUGH_ROOM = 512;
  static constexpr std::chrono::milliseconds LONGEST{2000};

  // `room`: the manager's result of the delivery.
  std::chrono::milliseconds PauseAfter(int room);

 private:
  bool givenUp_ = false;
};

}  // namespace unit
