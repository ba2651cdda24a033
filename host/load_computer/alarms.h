// Which alarm sounds, and how the operator silences it.
#pragma once

#include <cstdint>
#include <optional>

#include "host/crane/limits.h"
#include "host/load_computer/phrases.h"
#include "host/load_computer/sensors.h"

namespace simulate {

// The higher one is said when several are there.
enum class alarm_t : std::uint8_t { NONE, OPERATOR_LIMIT, PRE_ALARM, SENSOR_FAULT, OVERLOAD, TWO_BLOCK };

alarm_t AlarmOf(const measured_t& measured, const crane::Limits& limits, bool sensorFault);
// What the display says of it; empty for none.
std::optional<phrase_t> AlarmPhrase(alarm_t alarm);

class Bell {
 public:
  void Ring(alarm_t alarm);
  // Until another alarm comes. False when nothing sounded.
  bool Silence();
  alarm_t Now() const { return now_; }
  // As command 4 takes it: 0 silent, 255 continuous, otherwise the length of a pulse and its pause in 10 ms.
  std::uint8_t Beeper() const;

 private:
  alarm_t now_ = alarm_t::NONE;
  bool silenced_ = false;
};

}  // namespace simulate
