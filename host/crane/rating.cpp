#include "host/crane/rating.h"

#include <algorithm>

namespace crane {
namespace {

constexpr double kStowedJib = 250;  // kilograms off the boom's capacity
constexpr double kErectedJib = 1100;
constexpr double kAuxHead = 60;
constexpr double kLinePull = 5500;  // kilograms a part of line
constexpr double kManualBoom = 0.85;
constexpr double kPeople = 0.5;  // ASME B30.23: half of the rated capacity for a suspended platform
constexpr double kPreAlarm_percent = 90;
constexpr double kOverload_percent = 100;
constexpr double kMost_percent = 999;

// The hook hangs from something that is there.
bool CanPick(const rigging_t& rigging) {
  if (rigging.pick == Pick::kAux) return rigging.auxHead;
  return rigging.pick == Pick::kMainBoom || IsErected(rigging.jib);
}

double Deduction(const rigging_t& rigging) {
  if (rigging.pick == Pick::kFly) return 0;  // its chart knows
  double deduction = rigging.auxHead ? kAuxHead : 0;
  if (rigging.jib == Jib::kStowed) deduction += kStowedJib;
  if (IsErected(rigging.jib)) deduction += kErectedJib;
  return deduction;
}

}  // namespace

double RatedCapacity(const LoadChart& chart, const Crane& crane) {
  const rigging_t& rigging = crane.Rigging();
  if (!CanPick(rigging)) return 0;
  conditions_t conditions{
      .base = crane.SafeBase(), .counterweight = rigging.counterweight, .jib = {}, .area = crane.Over()};
  if (rigging.pick == Pick::kFly) conditions.jib = rigging.jib;
  double capacity = chart.Capacity(conditions, crane.Radius(), crane.Length());
  if (rigging.manualBoom) capacity *= kManualBoom;
  capacity = std::min(capacity - Deduction(rigging), rigging.parts * kLinePull);
  if (rigging.manBasket) capacity *= kPeople;
  return std::max(capacity, 0.0);
}

double PercentOf(double load, double capacity) {
  if (!(capacity > 0)) return load > 0 ? kMost_percent : 0;
  return std::min(100 * load / capacity, kMost_percent);
}

Level LevelOf(double percent) {
  if (percent >= kOverload_percent) return Level::kOverload;
  return percent >= kPreAlarm_percent ? Level::kPreAlarm : Level::kNormal;
}

}  // namespace crane
