// Which alarm sounds, and how the operator silences it.
#pragma once

#include <cstdint>
#include <optional>

#include "host/crane/limits.h"
#include "host/load_computer/phrases.h"
#include "host/load_computer/sensors.h"

namespace simulate {

// In ascending priority. Of several alarms at once the load computer reports the one with the highest priority.
enum class alarm_t : std::uint8_t { NONE, OPERATOR_LIMIT, PRE_ALARM, SENSOR_FAULT, OVERLOAD, TWO_BLOCK };

alarm_t FindAlarm(const measured_t& measured, const crane::Limits& limits, bool sensorFault);
// The text for the display; empty for no alarm.
std::optional<phrase_t> PhraseFor(alarm_t alarm);

class Bell {
 public:
  void Ring(alarm_t alarm);
  // Silences the present alarm until another one comes. Returns false if there was none.
  bool Silence();
  alarm_t Now() const { return now_; }
  // The value for command 4: 0 silent, 255 continuous, otherwise the length of a pulse and of its pause in 10
  // ms.
  std::uint8_t Beeper() const;

 private:
  alarm_t now_ = alarm_t::NONE;
  bool silenced_ = false;
};

}  // namespace simulate
