#include "host/crane/rating.h"

#include <algorithm>

namespace crane {
namespace {

constexpr double STOWED_JIB = 250;  // kilograms deducted from the boom's capacity
constexpr double ERECTED_JIB = 1100;
constexpr double AUX_HEAD = 60;
constexpr double LINE_PULL = 5500;  // kilograms for each part of line
constexpr double MANUAL_BOOM = 0.85;
constexpr double PEOPLE = 0.5;  // ASME B30.23: half of the rated capacity for a suspended platform
constexpr double PRE_ALARM_PERCENT = 90;
constexpr double OVERLOAD_PERCENT = 100;
constexpr double MOST_PERCENT = 999;

// Whether the head or jib that the hook hangs from is mounted.
bool CanPick(const rigging_t& rigging) {
  if (rigging.pick == pick_t::AUX) return rigging.auxHead;
  return rigging.pick == pick_t::MAIN_BOOM || IsErected(rigging.jib);
}

double Deduction(const rigging_t& rigging) {
  if (rigging.pick == pick_t::FLY) return 0;  // the jib's own chart includes it
  double deduction = rigging.auxHead ? AUX_HEAD : 0;
  if (rigging.jib == jib_t::STOWED) deduction += STOWED_JIB;
  if (IsErected(rigging.jib)) deduction += ERECTED_JIB;
  return deduction;
}

double CapacityAt(const LoadChart& chart, const Crane& crane, double radius) {
  const rigging_t& rigging = crane.Rigging();
  if (!CanPick(rigging)) return 0;
  conditions_t conditions{
      .base = crane.SafeBase(), .counterweight = rigging.counterweight, .jib = {}, .area = crane.Over()};
  if (rigging.pick == pick_t::FLY) conditions.jib = rigging.jib;
  double capacity = chart.Capacity(conditions, radius, crane.Length());
  if (rigging.manualBoom) capacity *= MANUAL_BOOM;
  capacity = std::min(capacity - Deduction(rigging), rigging.parts * LINE_PULL);
  if (rigging.manBasket) capacity *= PEOPLE;
  return std::max(capacity, 0.0);
}

}  // namespace

double RatedCapacity(const LoadChart& chart, const Crane& crane) {
  return CapacityAt(chart, crane, crane.Radius());
}

std::vector<rated_point_t> RatedCurve(const LoadChart& chart, const Crane& crane) {
  constexpr int HALF_METRES = 120;  // beyond what boom and jib reach
  std::vector<rated_point_t> curve;
  for (int i = 0; i <= HALF_METRES; ++i) {
    const double radius = i / 2.0;
    const double capacity = CapacityAt(chart, crane, radius);
    if (capacity > 0) curve.push_back({radius, capacity});
  }
  return curve;
}

double PercentOf(double load, double capacity) {
  if (!(capacity > 0)) return load > 0 ? MOST_PERCENT : 0;
  return std::min(100 * load / capacity, MOST_PERCENT);
}

level_t LevelOf(double percent) {
  if (percent >= OVERLOAD_PERCENT) return level_t::OVERLOAD;
  return percent >= PRE_ALARM_PERCENT ? level_t::PRE_ALARM : level_t::NORMAL;
}

}  // namespace crane
