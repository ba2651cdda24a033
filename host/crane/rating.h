// The rated capacity of the crane as it is rigged and stands now, and the load's share of it.
#pragma once

#include <cstdint>
#include <vector>

#include "host/crane/crane.h"
#include "host/crane/load_chart.h"

namespace crane {

// The rated capacity in kilograms for everything on the rope: the chart's capacity less the deductions for jib
// and auxiliary head, at most what the rope carries, and half of that for people.
double RatedCapacity(const LoadChart& chart, const Crane& crane);

struct rated_point_t {
  double radius;    // metres
  double capacity;  // kilograms
};
// The rated capacity over the radius for the crane as it is rigged, with the boom at its present length: from
// the smallest radius with a capacity to the largest, every half metre. Empty where it may lift nothing.
std::vector<rated_point_t> RatedCurve(const LoadChart& chart, const Crane& crane);

// `load` in percent of `capacity`, at most 999. A load without a capacity is 999.
double PercentOf(double load, double capacity);

enum class level_t : std::uint8_t { NORMAL, PRE_ALARM, OVERLOAD };
// PRE_ALARM from 90 % of the rated capacity, OVERLOAD from 100 %.
level_t LevelOf(double percent);

}  // namespace crane
