// The rated capacity of the crane as it is rigged and stands now, and the load's share of it.
#pragma once

#include <cstdint>

#include "host/crane/crane.h"
#include "host/crane/load_chart.h"

namespace crane {

// The rated capacity in kilograms for everything on the rope: the chart's capacity less the deductions for jib
// and auxiliary head, at most what the rope carries, and half of that for people.
double RatedCapacity(const LoadChart& chart, const Crane& crane);

// `load` in percent of `capacity`, at most 999. A load without a capacity is 999.
double PercentOf(double load, double capacity);

enum class level_t : std::uint8_t { NORMAL, PRE_ALARM, OVERLOAD };
// PRE_ALARM from 90 % of the rated capacity, OVERLOAD from 100 %.
level_t LevelOf(double percent);

}  // namespace crane
