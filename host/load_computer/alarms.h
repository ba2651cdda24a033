// Which alarm sounds, and how the operator silences it.
#pragma once

#include <cstdint>
#include <optional>

#include "host/crane/limits.h"
#include "host/load_computer/sensors.h"
#include "host/load_computer/texts.h"

namespace simulate {

// The higher one is said when several are there.
enum class Alarm : std::uint8_t { kNone, kOperatorLimit, kPreAlarm, kSensorFault, kOverload, kTwoBlock };

Alarm AlarmOf(const measured_t& measured, const crane::Limits& limits, bool sensorFault);
// What the display says of it; empty for none.
std::optional<Text> TextOf(Alarm alarm);

class Bell {
 public:
  void Ring(Alarm alarm);
  // Until another alarm comes. False when nothing sounded.
  bool Silence();
  Alarm Now() const { return now_; }
  // As command 4 takes it: 0 silent, 255 continuous, otherwise the length of a pulse and its pause in 10 ms.
  std::uint8_t Beeper() const;

 private:
  Alarm now_ = Alarm::kNone;
  bool silenced_ = false;
};

}  // namespace simulate
