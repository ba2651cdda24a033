// Converts the crane's metres, kilograms and bar to the units that the operator has set for the display.
#pragma once

namespace simulate {

enum class units_t : unsigned char { IMPERIAL, METRIC };  // the protocol's numbers

constexpr double POUNDS_PER_KILOGRAM = 1 / 0.45359237;
constexpr double FEET_PER_METRE = 1 / 0.3048;
constexpr double PSI_PER_BAR = 14.503773773;

constexpr double Weight(double kilograms, units_t units) {
  return units == units_t::METRIC ? kilograms : kilograms * POUNDS_PER_KILOGRAM;
}
constexpr double Length(double metres, units_t units) {
  return units == units_t::METRIC ? metres : metres * FEET_PER_METRE;
}
constexpr double Pressure(double bar, units_t units) {
  return units == units_t::METRIC ? bar : bar * PSI_PER_BAR;
}
constexpr const char* LengthUnit(units_t units) {
  return units == units_t::METRIC ? "m" : "ft";
}
constexpr const char* PressureUnit(units_t units) {
  return units == units_t::METRIC ? "bar" : "psi";
}

}  // namespace simulate
