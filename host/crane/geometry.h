// The crane's dimensions, and what is computed from them: the place of the sheaves and the pressures of the
// boom cylinder. Units: metres, kilograms, degrees, bar. Boom angles are above the horizontal.
#pragma once

#include "host/crane/rigging.h"

namespace crane {

struct measures_t {
  double footHeight = 2.4;  // the boom's foot pin above the ground
  double footBehind = 1.1;  // the foot pin behind the centre of rotation
  double shortest = 10.7;   // the retracted boom, from foot pin to head
  double longest = 33.5;    // the extended boom
  double leastAngle = -2;   // at the end of the cylinder's stroke
  double mostAngle = 80;
  double boomMass = 6800;  // with its centre of mass at half of the length
  double auxReach = 0.6;   // of the auxiliary head beyond the boom head
  double longFly = 16.2;   // of the jib beyond the boom head
  double shortFly = 9.1;
  double cylinderForward = 1.9;  // its lower pin in front of the foot pin
  double cylinderBelow = 0.75;   // and below it
  double cylinderAlong = 3.2;    // its upper pin along the boom
  double cylinderUnder = 0.45;   // and below the boom's axis
  double pistonArea = 0.0707;    // square metres: 300 mm bore
  double ringArea = 0.0393;      // with a rod of 200 mm
};
constexpr measures_t MEASURES{};

// A place relative to the centre of rotation on the ground.
struct point_t {
  double radius;  // horizontal
  double height;
};
// Where the hook's sheaves are. A pick from a fly that is not erected counts as one from the boom head.
point_t SheavesAt(double length, double angle, pick_t pick, jib_t jib);

struct pressures_t {
  double piston;
  double rod;
};
// From the moments about the foot pin: load and boom weight against the cylinder's force. `lowering` is the
// speed downwards as a fraction of full speed, 0 to 1; the rod side then has pressure to push the boom down.
pressures_t CylinderPressures(double length, double angle, double load, double radius, double lowering);

// `swing` is in degrees to the right of the front and may exceed a turn.
area_t AreaOf(double swing);

}  // namespace crane
