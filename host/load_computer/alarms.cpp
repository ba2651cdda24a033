#include "host/load_computer/alarms.h"

#include <array>
#include <cmath>

#include "host/crane/rating.h"

namespace simulate {
namespace {

struct signs_t {
  std::uint8_t beeper;
  std::optional<text_t> text;
};
// The nearer the danger, the faster the pulse, up to one that never pauses.
constexpr std::array<signs_t, 6> SIGNS = {{{0, std::nullopt},
                                           {100, text_t::OPERATOR_LIMIT},
                                           {50, text_t::NEAR_LIMIT},
                                           {50, text_t::SENSOR_FAULT},
                                           {255, text_t::OVERLOAD},
                                           {10, text_t::TWO_BLOCK}}};

const signs_t& SignsOf(alarm_t alarm) {
  return SIGNS[static_cast<std::size_t>(alarm)];
}

}  // namespace

alarm_t AlarmOf(const measured_t& measured, const crane::Limits& limits, bool sensorFault) {
  const crane::level_t level =
      std::isnan(measured.percent) ? crane::level_t::NORMAL : crane::LevelOf(measured.percent);
  if (measured.twoBlock) return alarm_t::TWO_BLOCK;
  if (level == crane::level_t::OVERLOAD) return alarm_t::OVERLOAD;
  if (sensorFault) return alarm_t::SENSOR_FAULT;
  if (level == crane::level_t::PRE_ALARM) return alarm_t::PRE_ALARM;
  return limits.AnyTripped() ? alarm_t::OPERATOR_LIMIT : alarm_t::NONE;
}

std::optional<text_t> TextOf(alarm_t alarm) {
  return SignsOf(alarm).text;
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
  return silenced_ ? std::uint8_t{0} : SignsOf(now_).beeper;
}

}  // namespace simulate
