// What the crane may lift as it is now, and how near the load is to it.
#pragma once

#include <cstdint>

#include "host/crane/crane.h"
#include "host/crane/load_chart.h"

namespace crane {

// The rated capacity in kilograms for everything that hangs at the sheaves: the chart's, less what a jib or an
// auxiliary head takes off, never more than the rope carries, and half of it for people.
double RatedCapacity(const LoadChart& chart, const Crane& crane);

// Of `load` in `capacity`, in percent; at most 999, which is also what any load is without a capacity.
double PercentOf(double load, double capacity);

enum class level_t : std::uint8_t { NORMAL, PRE_ALARM, OVERLOAD };
// From 90 % of the rated capacity and from 100 %.
level_t LevelOf(double percent);

}  // namespace crane
