#include "host/load_computer/sensors.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/crane/rating.h"

namespace simulate {
namespace {

constexpr double UNKNOWN = std::numeric_limits<double>::quiet_NaN();

// Mostly below the steps of the display: hundreds, tenths and whole degrees.
constexpr double ANGLE_NOISE_DEG = 0.02;
constexpr double LENGTH_NOISE_M = 0.004;
constexpr double SWING_NOISE_DEG = 0.1;
constexpr double PRESSURE_NOISE_BAR = 0.3;
constexpr double LOAD_NOISE_KG = 2;
constexpr double LOAD_IN_WIND = 0.0006;  // fraction of the load for each metre per second

}  // namespace

double Sensors::Noise::Next(std::mt19937& random) {
  // Standard libraries differ in their distributions but not in this generator; the bytes must be the same
  // everywhere.
  const double uniform = 2 * static_cast<double>(random()) / static_cast<double>(std::mt19937::max()) - 1;
  constexpr double MEMORY = 0.8;
  value_ = MEMORY * value_ + (1 - MEMORY) * uniform;
  return value_;
}

bool Sensors::AnyFault() const {
  return std::ranges::any_of(faults_, [](bool fault) { return fault; });
}

measured_t Sensors::Measure(const crane::Crane& crane, const crane::LoadChart& chart) {
  measured_t measured;
  const double sway = LOAD_NOISE_KG + LOAD_IN_WIND * wind_ * crane.HangingLoad();
  measured.load = std::max(0.0, crane.HangingLoad() + sway * load_.Next(random_));
  measured.angle = crane.Angle() + ANGLE_NOISE_DEG * angle_.Next(random_);
  const double length = LENGTH_NOISE_M * length_.Next(random_);
  measured.extension = std::max(0.0, crane.Extension() + length);
  measured.radius = std::max(0.0, crane.Radius() + length);
  measured.swing = crane.Swing() + SWING_NOISE_DEG * swing_.Next(random_);
  const crane::pressures_t pressures = crane.Pressures();
  measured.piston = pressures.piston + PRESSURE_NOISE_BAR * pressure_.Next(random_);
  measured.rod = pressures.rod;
  measured.capacity = crane::RatedCapacity(chart, crane);
  measured.twoBlock = crane.TwoBlocked();
  ApplyFaults(measured);
  const bool known = !std::isnan(measured.load) && !std::isnan(measured.capacity);
  measured.percent = known ? crane::PercentOf(measured.load, measured.capacity) : UNKNOWN;
  return measured;
}

void Sensors::ApplyFaults(measured_t& measured) const {
  if (HasFault(sensor_fault_t::LOAD_CELL)) measured.load = measured.piston = measured.rod = UNKNOWN;
  if (HasFault(sensor_fault_t::ANGLE_SENSOR)) measured.angle = measured.radius = measured.capacity = UNKNOWN;
  if (HasFault(sensor_fault_t::LENGTH_SENSOR))
    measured.extension = measured.radius = measured.capacity = UNKNOWN;
  if (HasFault(sensor_fault_t::SWING_SENSOR)) measured.swing = UNKNOWN;
  if (HasFault(sensor_fault_t::TWO_BLOCK_SWITCH)) measured.twoBlock = true;
}

}  // namespace simulate
