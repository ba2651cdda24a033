#include "host/crane/geometry.h"

#include <cmath>
#include <numbers>

namespace crane {
namespace {

constexpr double kGravity = 9.80665;  // m/s²
constexpr double kPascalsPerBar = 100'000;
constexpr double kReturnPressure_bar = 12;  // of the rod side at rest
constexpr double kLoweringPressure_bar = 30;

constexpr double kFront_deg = 5;  // to either side
constexpr double kFrontArc_deg = 30;
constexpr double kSide_deg = 150;

double Radians(double degrees) {
  return degrees * std::numbers::pi / 180;
}

struct reach_t {
  double length;
  double offset_deg;
};

reach_t ReachBeyondHead(Pick pick, Jib jib) {
  if (pick == Pick::kAux) return {kMeasures.auxReach, 0};
  if (pick == Pick::kFly && IsErected(jib)) {
    return {IsLong(jib) ? kMeasures.longFly : kMeasures.shortFly, OffsetOf(jib)};
  }
  return {0, 0};
}

// Of the cylinder's line of force from the foot pin.
double CylinderArm(double angle) {
  const double cosine = std::cos(Radians(angle));
  const double sine = std::sin(Radians(angle));
  const double lowerX = kMeasures.cylinderForward;
  const double lowerY = -kMeasures.cylinderBelow;
  const double alongX = kMeasures.cylinderAlong * cosine + kMeasures.cylinderUnder * sine - lowerX;
  const double alongY = kMeasures.cylinderAlong * sine - kMeasures.cylinderUnder * cosine - lowerY;
  return (lowerX * alongY - lowerY * alongX) / std::hypot(alongX, alongY);
}

}  // namespace

point_t SheavesAt(double length, double angle, Pick pick, Jib jib) {
  const reach_t beyond = ReachBeyondHead(pick, jib);
  const double boom = Radians(angle);
  const double reach = Radians(angle - beyond.offset_deg);
  return {length * std::cos(boom) + beyond.length * std::cos(reach) - kMeasures.footBehind,
          length * std::sin(boom) + beyond.length * std::sin(reach) + kMeasures.footHeight};
}

pressures_t CylinderPressures(double length, double angle, double load, double radius, double lowering) {
  const double boomArm = length / 2 * std::cos(Radians(angle));
  const double loadArm = radius + kMeasures.footBehind;
  const double moment = kGravity * (kMeasures.boomMass * boomArm + load * loadArm);
  const double rod = kReturnPressure_bar + kLoweringPressure_bar * lowering;
  const double force = moment / CylinderArm(angle);
  const double piston =
      force / kMeasures.pistonArea / kPascalsPerBar + rod * kMeasures.ringArea / kMeasures.pistonArea;
  return {piston, rod};
}

Area AreaOf(double swing) {
  const double fromFront = std::abs(std::remainder(swing, 360.0));
  if (fromFront <= kFront_deg) return Area::kFront;
  if (fromFront <= kFrontArc_deg) return Area::kFrontArc;
  return fromFront <= kSide_deg ? Area::kSide : Area::kRear;
}

}  // namespace crane
