#include "host/load_computer/alarms.h"

#include <array>
#include <cmath>

#include "host/crane/rating.h"

namespace simulate {
namespace {

struct alarm_signals_t {
  std::uint8_t beeper;
  std::optional<phrase_t> text;
};
// The index is the alarm. Urgent alarms pulse faster; overload sounds without a pause.
constexpr std::array<alarm_signals_t, 6> SIGNALS = {{{0, std::nullopt},
                                                     {100, phrase_t::OPERATOR_LIMIT},
                                                     {50, phrase_t::NEAR_LIMIT},
                                                     {50, phrase_t::SENSOR_FAULT},
                                                     {255, phrase_t::OVERLOAD},
                                                     {10, phrase_t::TWO_BLOCK}}};

const alarm_signals_t& SignalsOf(alarm_t alarm) {
  return SIGNALS[static_cast<std::size_t>(alarm)];
}

}  // namespace

alarm_t FindAlarm(const measured_t& measured, const crane::Limits& limits, bool sensorFault) {
  const crane::level_t level =
      std::isnan(measured.percent) ? crane::level_t::NORMAL : crane::LevelOf(measured.percent);
  if (measured.twoBlock) return alarm_t::TWO_BLOCK;
  if (level == crane::level_t::OVERLOAD) return alarm_t::OVERLOAD;
  if (sensorFault) return alarm_t::SENSOR_FAULT;
  if (level == crane::level_t::PRE_ALARM) return alarm_t::PRE_ALARM;
  return limits.AnyTripped() ? alarm_t::OPERATOR_LIMIT : alarm_t::NONE;
}

std::optional<phrase_t> PhraseFor(alarm_t alarm) {
  return SignalsOf(alarm).text;
}

void Bell::Ring(alarm_t alarm) {
  if (alarm != now_) silenced_ = false;
  now_ = alarm;
}

bool Bell::Silence() {
  if (now_ == alarm_t::NONE) return false;
  silenced_ = true;
  return true;
}

std::uint8_t Bell::Beeper() const {
  return silenced_ ? std::uint8_t{0} : SignalsOf(now_).beeper;
}

}  // namespace simulate
