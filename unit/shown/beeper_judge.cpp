#include "unit/shown/beeper_judge.h"

#include "expect/shown_names.h"

namespace unit {

void BeeperJudge::Note(bool sounding, std::uint32_t pulses, TimePoint now) {
  const bool isNew = pulses_ ? pulses != *pulses_ : sounding;
  if (isNew) NoteStart(pulses, now);
  if (!sounding && (sounding_ || isNew)) ended_ = now;
  pulses_ = pulses;
  sounding_ = sounding;
}

// Several beeps since the last reading are pulses, however long they were.
void BeeperJudge::NoteStart(std::uint32_t pulses, TimePoint now) {
  startedBefore_ = started_;
  if (pulses_ && pulses - *pulses_ > 1) startedBefore_ = now;
  started_ = now;
}

// A pulse sounds for half of its period; one that sounds longer, or a longer silence, ends the pulses.
bool BeeperJudge::IsPulsing(TimePoint now) const {
  if (!startedBefore_ || *started_ - *startedBefore_ > LONGEST_PERIOD) return false;
  const auto period = *started_ - *startedBefore_;
  const auto longest = sounding_ ? period * 3 / 4 : period * 5 / 4;
  return now - *started_ <= longest + TOLERANCE;
}

std::string_view BeeperJudge::Judge(TimePoint now) const {
  if (!started_) return expect::BEEPER_SILENT;
  if (IsPulsing(now)) return expect::BEEPER_PULSE;
  if (sounding_) return now - *started_ >= STEADY_AFTER ? expect::BEEPER_STEADY : expect::BEEPER_BEEP;
  return now - ended_ < BEEP_HEARD ? expect::BEEPER_BEEP : expect::BEEPER_SILENT;
}

}  // namespace unit
