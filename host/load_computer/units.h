// The crane is reckoned in metres, kilograms and bar; the display is told in the units that the operator has
// set.
#pragma once

namespace simulate {

enum class Units : unsigned char { kImperial, kMetric };  // as the protocol numbers them

constexpr double kPoundsPerKilogram = 1 / 0.45359237;
constexpr double kFeetPerMetre = 1 / 0.3048;
constexpr double kPsiPerBar = 14.503773773;

constexpr double Weight(double kilograms, Units units) {
  return units == Units::kMetric ? kilograms : kilograms * kPoundsPerKilogram;
}
constexpr double Length(double metres, Units units) {
  return units == Units::kMetric ? metres : metres * kFeetPerMetre;
}
constexpr double Pressure(double bar, Units units) {
  return units == Units::kMetric ? bar : bar * kPsiPerBar;
}
constexpr const char* LengthUnit(Units units) {
  return units == Units::kMetric ? "m" : "ft";
}
constexpr const char* PressureUnit(Units units) {
  return units == Units::kMetric ? "bar" : "psi";
}

}  // namespace simulate
