#include "host/load_computer/alarms.h"

#include <array>
#include <cmath>

#include "host/crane/rating.h"

namespace simulate {
namespace {

struct signs_t {
  std::uint8_t beeper;
  std::optional<Text> text;
};
// The nearer the danger, the faster the pulse, up to one that never pauses.
constexpr std::array<signs_t, 6> kSigns = {{{0, std::nullopt},
                                            {100, Text::kOperatorLimit},
                                            {50, Text::kNearLimit},
                                            {50, Text::kSensorFault},
                                            {255, Text::kOverload},
                                            {10, Text::kTwoBlock}}};

const signs_t& SignsOf(Alarm alarm) {
  return kSigns[static_cast<std::size_t>(alarm)];
}

}  // namespace

Alarm AlarmOf(const measured_t& measured, const crane::Limits& limits, bool sensorFault) {
  const crane::Level level =
      std::isnan(measured.percent) ? crane::Level::kNormal : crane::LevelOf(measured.percent);
  if (measured.twoBlock) return Alarm::kTwoBlock;
  if (level == crane::Level::kOverload) return Alarm::kOverload;
  if (sensorFault) return Alarm::kSensorFault;
  if (level == crane::Level::kPreAlarm) return Alarm::kPreAlarm;
  return limits.AnyTripped() ? Alarm::kOperatorLimit : Alarm::kNone;
}

std::optional<Text> TextOf(Alarm alarm) {
  return SignsOf(alarm).text;
}

void Bell::Ring(Alarm alarm) {
  if (alarm != now_) silenced_ = false;
  now_ = alarm;
}

bool Bell::Silence() {
  if (now_ == Alarm::kNone) return false;
  silenced_ = true;
  return true;
}

std::uint8_t Bell::Beeper() const {
  return silenced_ ? std::uint8_t{0} : SignsOf(now_).beeper;
}

}  // namespace simulate
