#include "host/crane/geometry.h"

#include <cmath>
#include <numbers>

namespace crane {
namespace {

constexpr double GRAVITY = 9.80665;  // m/s²
constexpr double PASCALS_PER_BAR = 100'000;
constexpr double RETURN_PRESSURE_BAR = 12;  // on the rod side at rest
constexpr double LOWERING_PRESSURE_BAR = 30;

constexpr double FRONT_DEG = 5;  // to each side of the front
constexpr double FRONT_ARC_DEG = 30;
constexpr double SIDE_DEG = 150;

double Radians(double degrees) {
  return degrees * std::numbers::pi / 180;
}

struct head_reach_t {
  double length;
  double offset_deg;
};

head_reach_t ReachBeyondHead(pick_t pick, jib_t jib) {
  if (pick == pick_t::AUX) return {MEASURES.auxReach, 0};
  if (pick == pick_t::FLY && IsErected(jib)) {
    return {IsLong(jib) ? MEASURES.longFly : MEASURES.shortFly, OffsetOf(jib)};
  }
  return {0, 0};
}

// Distance of the cylinder's line of force from the foot pin.
double CylinderArm(double angle) {
  const double cosine = std::cos(Radians(angle));
  const double sine = std::sin(Radians(angle));
  const double lowerX = MEASURES.cylinderForward;
  const double lowerY = -MEASURES.cylinderBelow;
  const double alongX = MEASURES.cylinderAlong * cosine + MEASURES.cylinderUnder * sine - lowerX;
  const double alongY = MEASURES.cylinderAlong * sine - MEASURES.cylinderUnder * cosine - lowerY;
  return (lowerX * alongY - lowerY * alongX) / std::hypot(alongX, alongY);
}

}  // namespace

point_t SheavesAt(double length, double angle, pick_t pick, jib_t jib) {
  const head_reach_t beyond = ReachBeyondHead(pick, jib);
  const double boom = Radians(angle);
  const double reach = Radians(angle - beyond.offset_deg);
  return {length * std::cos(boom) + beyond.length * std::cos(reach) - MEASURES.footBehind,
          length * std::sin(boom) + beyond.length * std::sin(reach) + MEASURES.footHeight};
}

pressures_t CylinderPressures(double length, double angle, double load, double radius, double lowering) {
  const double boomArm = length / 2 * std::cos(Radians(angle));
  const double loadArm = radius + MEASURES.footBehind;
  const double moment = GRAVITY * (MEASURES.boomMass * boomArm + load * loadArm);
  const double rod = RETURN_PRESSURE_BAR + LOWERING_PRESSURE_BAR * lowering;
  const double force = moment / CylinderArm(angle);
  const double piston =
      force / MEASURES.pistonArea / PASCALS_PER_BAR + rod * MEASURES.ringArea / MEASURES.pistonArea;
  return {piston, rod};
}

area_t AreaOf(double swing) {
  const double fromFront = std::abs(std::remainder(swing, 360.0));
  if (fromFront <= FRONT_DEG) return area_t::FRONT;
  if (fromFront <= FRONT_ARC_DEG) return area_t::FRONT_ARC;
  return fromFront <= SIDE_DEG ? area_t::SIDE : area_t::REAR;
}

}  // namespace crane
