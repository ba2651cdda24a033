// The crane's measures, and what follows from them: where the hook hangs, and what the boom cylinder carries.
// Metres, kilograms, degrees, bar. Angles are of the boom over the horizontal.
#pragma once

#include "host/crane/rigging.h"

namespace crane {

struct measures_t {
  double footHeight = 2.4;  // the boom's foot pin above the ground
  double footBehind = 1.1;  // the foot pin behind the centre of rotation
  double shortest = 10.7;   // the boom drawn in, from foot pin to head
  double longest = 33.5;    // and telescoped out
  double leastAngle = -2;   // the cylinder's ends
  double mostAngle = 80;
  double boomMass = 6800;  // its centre of mass at half of its length
  double auxReach = 0.6;   // of the auxiliary head beyond the boom's
  double longFly = 16.2;   // of the jib, beyond the head
  double shortFly = 9.1;
  double cylinderForward = 1.9;  // its lower pin, before the foot pin
  double cylinderBelow = 0.75;   // and below it
  double cylinderAlong = 3.2;    // its upper pin along the boom
  double cylinderUnder = 0.45;   // and under the boom's axis
  double pistonArea = 0.0707;    // square metres: 300 mm bore
  double ringArea = 0.0393;      // with a rod of 200 mm
};
constexpr measures_t MEASURES{};

// The hook's sheaves seen from the centre of rotation on the ground.
struct point_t {
  double radius;  // horizontal
  double height;
};
// `jib` matters for a pick from the fly, and must then be erected; otherwise the boom's head is taken.
point_t SheavesAt(double length, double angle, pick_t pick, jib_t jib);

struct pressures_t {
  double piston;
  double rod;
};
// Moment equilibrium about the foot pin: the load at the sheaves and the boom's own weight against the
// cylinder. `lowering` is 0 at rest to 1 at full speed downwards, when the rod side drives the boom down.
pressures_t CylinderPressures(double length, double angle, double load, double radius, double lowering);

// Over what the boom points, 0 being the front and positive to the right; any number of degrees.
area_t AreaOf(double swing);

}  // namespace crane
