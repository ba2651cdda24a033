// The crane's state in the terms of the protocol: lamps, colours, swing mode and operating values.
#pragma once

#include <array>
#include <cstdint>

#include "host/crane/load_chart.h"
#include "host/load_computer/dialogue.h"
#include "host/protocol/cmd2_values.h"

namespace simulate {

// The lamp word of command 2.
std::uint32_t MakeLampWord(const cab_t& cab);
// Of tires and outriggers retracted, half and extended: green where the crane stands on what the operator has
// chosen, yellow on what it moves to and red on what it still stands on, the others dark.
std::array<double, 4> ColorsOf(const crane::Crane& crane);
// How swing is shown; NaN for a swing that is not known is the sensor's affair.
unsigned SwingModeOf(const cab_t& cab, const crane::LoadChart& chart);
// All of command 2, converted to the units that are set. What is not known becomes what the display shows as
// dashes.
void FillValues(const cab_t& cab, host::Cmd2Values& values);

}  // namespace simulate
