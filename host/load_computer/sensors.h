// What the load computer measures: the crane's state through sensors that have noise and can fail.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <string_view>

#include "host/crane/crane.h"
#include "host/crane/load_chart.h"

namespace simulate {

// Units: metres, kilograms, degrees, bar. A value is NaN if its sensor, or one that it is computed from, has
// failed.
struct measured_t {
  double capacity = 0;
  double load = 0;
  double radius = 0;
  double angle = 0;
  double extension = 0;
  double swing = 0;
  double percent = 0;
  double piston = 0;
  double rod = 0;
  bool twoBlock = false;
};

// Sensor faults that scenarios can set and clear.
enum class sensor_fault_t : std::uint8_t {
  LOAD_CELL,
  ANGLE_SENSOR,
  LENGTH_SENSOR,
  SWING_SENSOR,
  TWO_BLOCK_SWITCH
};
constexpr std::array<std::string_view, 5> SENSOR_FAULT_NAMES = {"load-cell", "angle-sensor", "length-sensor",
                                                                "swing-sensor", "two-block-switch"};

class Sensors {
 public:
  explicit Sensors(std::uint32_t seed) : random_(seed) {}
  // In metres per second, 0 to 40; wind makes the load sway.
  void SetWind(double wind) { wind_ = wind; }
  double Wind() const { return wind_; }
  void SetFault(sensor_fault_t fault, bool on) { faults_[static_cast<std::size_t>(fault)] = on; }
  bool HasFault(sensor_fault_t fault) const { return faults_[static_cast<std::size_t>(fault)]; }
  bool AnyFault() const;

  // Measures once; the load computer calls this ten times a second. The same seed and crane give the same
  // values.
  measured_t Measure(const crane::Crane& crane, const crane::LoadChart& chart);

 private:
  // Noise that is correlated over a few measurements.
  class Noise {
   public:
    double Next(std::mt19937& random);

   private:
    double value_ = 0;  // -1 to 1, mostly near 0
  };

  void ApplyFaults(measured_t& measured) const;

  std::mt19937 random_;
  double wind_ = 3;
  std::array<bool, SENSOR_FAULT_NAMES.size()> faults_{};
  Noise load_, angle_, length_, swing_, pressure_;
};

}  // namespace simulate
