// The crane's state as the protocol sends it: lamps, colours, swing mode and operating values.
#pragma once

#include <array>
#include <cstdint>

#include "host/crane/load_chart.h"
#include "host/load_computer/dialogue.h"
#include "host/protocol/cmd2_values.h"

namespace simulate {

// The lamp word of command 2.
std::uint32_t MakeLampWord(const cab_t& cab);
// The colours for tires and outriggers retracted, half and extended. The base that the operator has chosen is
// green when the crane stands on it and yellow while it moves there; the base that the crane then still stands
// on is red; the others are dark.
std::array<double, 4> BaseColors(const crane::Crane& crane);
// The mode in which the display shows swing. An unknown swing does not change it.
unsigned FindSwingMode(const cab_t& cab, const crane::LoadChart& chart);
// Sets all values of command 2 in the operator's units. Unknown values become ones that the display shows as
// dashes.
void FillValues(const cab_t& cab, host::Cmd2Values& values);

}  // namespace simulate
