// What the load computer knows of the crane: the crane's state through sensors that tremble a little and can
// fail.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <string_view>

#include "host/crane/crane.h"
#include "host/crane/load_chart.h"

namespace simulate {

// Metres, kilograms, degrees, bar. NaN where a sensor has failed, and in all that follows from it.
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

// Faults that can be put in and taken out again.
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
  // Metres a second; the load sways in it. 0 to 40.
  void SetWind(double wind) { wind_ = wind; }
  double Wind() const { return wind_; }
  void SetFault(sensor_fault_t fault, bool on) { faults_[static_cast<std::size_t>(fault)] = on; }
  bool HasFault(sensor_fault_t fault) const { return faults_[static_cast<std::size_t>(fault)]; }
  bool AnyFault() const;

  // One look, ten a second. The same seed and the same crane give the same values.
  measured_t Read(const crane::Crane& crane, const crane::LoadChart& chart);

 private:
  // Trembling that forgets itself within a few looks.
  class Tremor {
   public:
    double Next(std::mt19937& random);

   private:
    double value_ = 0;  // -1 to 1, mostly near 0
  };

  std::mt19937 random_;
  double wind_ = 3;
  std::array<bool, SENSOR_FAULT_NAMES.size()> faults_{};
  Tremor load_, angle_, length_, swing_, pressure_;
};

}  // namespace simulate
