#include "host/load_computer/sensors.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/crane/rating.h"

namespace simulate {
namespace {

constexpr double UNKNOWN = std::numeric_limits<double>::quiet_NaN();

// Most of the time below what the display shows: hundreds, tenths and whole degrees.
constexpr double ANGLE_TREMOR_DEG = 0.02;
constexpr double LENGTH_TREMOR_M = 0.004;
constexpr double SWING_TREMOR_DEG = 0.1;
constexpr double PRESSURE_TREMOR_BAR = 0.3;
constexpr double LOAD_TREMOR_KG = 2;
constexpr double LOAD_IN_WIND = 0.0006;  // of the load, for each metre a second

}  // namespace

double Sensors::Tremor::Next(std::mt19937& random) {
  // The library's distributions differ between libraries; the generator does not.
  const double uniform = 2 * static_cast<double>(random()) / static_cast<double>(std::mt19937::max()) - 1;
  constexpr double MEMORY = 0.8;
  value_ = MEMORY * value_ + (1 - MEMORY) * uniform;
  return value_;
}

bool Sensors::AnyFault() const {
  return std::ranges::any_of(faults_, [](bool fault) { return fault; });
}

measured_t Sensors::Read(const crane::Crane& crane, const crane::LoadChart& chart) {
  measured_t measured;
  const double sway = LOAD_TREMOR_KG + LOAD_IN_WIND * wind_ * crane.HangingLoad();
  measured.load = std::max(0.0, crane.HangingLoad() + sway * load_.Next(random_));
  measured.angle = crane.Angle() + ANGLE_TREMOR_DEG * angle_.Next(random_);
  const double length = LENGTH_TREMOR_M * length_.Next(random_);
  measured.extension = std::max(0.0, crane.Extension() + length);
  measured.radius = std::max(0.0, crane.Radius() + length);
  measured.swing = crane.Swing() + SWING_TREMOR_DEG * swing_.Next(random_);
  const crane::pressures_t pressures = crane.Pressures();
  measured.piston = pressures.piston + PRESSURE_TREMOR_BAR * pressure_.Next(random_);
  measured.rod = pressures.rod;
  measured.capacity = crane::RatedCapacity(chart, crane);
  measured.twoBlock = crane.TwoBlocked();

  if (HasFault(sensor_fault_t::LOAD_CELL)) measured.load = measured.piston = measured.rod = UNKNOWN;
  if (HasFault(sensor_fault_t::ANGLE_SENSOR)) measured.angle = measured.radius = measured.capacity = UNKNOWN;
  if (HasFault(sensor_fault_t::LENGTH_SENSOR))
    measured.extension = measured.radius = measured.capacity = UNKNOWN;
  if (HasFault(sensor_fault_t::SWING_SENSOR)) measured.swing = UNKNOWN;
  if (HasFault(sensor_fault_t::TWO_BLOCK_SWITCH)) measured.twoBlock = true;
  const bool known = !std::isnan(measured.load) && !std::isnan(measured.capacity);
  measured.percent = known ? crane::PercentOf(measured.load, measured.capacity) : UNKNOWN;
  return measured;
}

}  // namespace simulate
