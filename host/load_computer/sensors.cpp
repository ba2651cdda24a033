#include "host/load_computer/sensors.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/crane/rating.h"

namespace simulate {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

// Most of the time below what the display shows: hundreds, tenths and whole degrees.
constexpr double kAngleTremor_deg = 0.02;
constexpr double kLengthTremor_m = 0.004;
constexpr double kSwingTremor_deg = 0.1;
constexpr double kPressureTremor_bar = 0.3;
constexpr double kLoadTremor_kg = 2;
constexpr double kLoadInWind = 0.0006;  // of the load, for each metre a second

}  // namespace

double Sensors::Tremor::Next(std::mt19937& random) {
  // The library's distributions differ between libraries; the generator does not.
  const double uniform = 2 * static_cast<double>(random()) / static_cast<double>(std::mt19937::max()) - 1;
  constexpr double kMemory = 0.8;
  value_ = kMemory * value_ + (1 - kMemory) * uniform;
  return value_;
}

bool Sensors::AnyFault() const {
  return std::ranges::any_of(faults_, [](bool fault) { return fault; });
}

measured_t Sensors::Read(const crane::Crane& crane, const crane::LoadChart& chart) {
  measured_t measured;
  const double sway = kLoadTremor_kg + kLoadInWind * wind_ * crane.HangingLoad();
  measured.load = std::max(0.0, crane.HangingLoad() + sway * load_.Next(random_));
  measured.angle = crane.Angle() + kAngleTremor_deg * angle_.Next(random_);
  const double length = kLengthTremor_m * length_.Next(random_);
  measured.extension = std::max(0.0, crane.Extension() + length);
  measured.radius = std::max(0.0, crane.Radius() + length);
  measured.swing = crane.Swing() + kSwingTremor_deg * swing_.Next(random_);
  const crane::pressures_t pressures = crane.Pressures();
  measured.piston = pressures.piston + kPressureTremor_bar * pressure_.Next(random_);
  measured.rod = pressures.rod;
  measured.capacity = crane::RatedCapacity(chart, crane);
  measured.twoBlock = crane.TwoBlocked();

  if (HasFault(Fault::kLoadCell)) measured.load = measured.piston = measured.rod = kUnknown;
  if (HasFault(Fault::kAngleSensor)) measured.angle = measured.radius = measured.capacity = kUnknown;
  if (HasFault(Fault::kLengthSensor)) measured.extension = measured.radius = measured.capacity = kUnknown;
  if (HasFault(Fault::kSwingSensor)) measured.swing = kUnknown;
  if (HasFault(Fault::kTwoBlockSwitch)) measured.twoBlock = true;
  const bool known = !std::isnan(measured.load) && !std::isnan(measured.capacity);
  measured.percent = known ? crane::PercentOf(measured.load, measured.capacity) : kUnknown;
  return measured;
}

}  // namespace simulate
