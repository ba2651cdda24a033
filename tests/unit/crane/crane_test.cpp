// The crane's geometry, movements and load charts against values worked out by hand.
#include "host/crane/crane.h"

#include <cmath>
#include <sstream>

#include <gmock/gmock.h>

#include "host/crane/limits.h"
#include "host/crane/load_chart.h"
#include "host/crane/rating.h"

namespace crane {
namespace {

constexpr double kStep_s = 0.01;

void Pass(Crane& crane, double seconds) {
  for (int i = 0; i < std::lround(seconds / kStep_s); ++i) crane.Step(kStep_s);
}

TEST(Geometry, PutsTheHookWhereTheBoomIs) {
  struct {
    double length, angle;
    Pick pick;
    Jib jib;
    double radius, height;
  } const cases[] = {
      {20, 60, Pick::kMainBoom, Jib::kStowed, 20 * 0.5 - 1.1, 20 * 0.8660254 + 2.4},
      {10.7, 0, Pick::kMainBoom, Jib::kLong0, 9.6, 2.4},
      {20, 60, Pick::kAux, Jib::kStowed, 20.6 * 0.5 - 1.1, 20.6 * 0.8660254 + 2.4},
      {30, 60, Pick::kFly, Jib::kShort0, 39.1 * 0.5 - 1.1, 39.1 * 0.8660254 + 2.4},
      {30, 60, Pick::kFly, Jib::kLong15, 15 + 16.2 * 0.7071068 - 1.1, 25.980762 + 16.2 * 0.7071068 + 2.4},
      {30, 60, Pick::kFly, Jib::kLong30, 15 + 16.2 * 0.8660254 - 1.1, 25.980762 + 16.2 * 0.5 + 2.4},
  };
  for (const auto& c : cases) {
    const point_t sheaves = SheavesAt(c.length, c.angle, c.pick, c.jib);
    EXPECT_NEAR(sheaves.radius, c.radius, 1e-5) << c.length << " m at " << c.angle;
    EXPECT_NEAR(sheaves.height, c.height, 1e-5) << c.length << " m at " << c.angle;
  }
}

// At 0 degrees the pins are (1.9, -0.75) and (3.2, -0.45): the cylinder's arm is 1.545 / 1.33417 = 1.158025 m.
TEST(Geometry, BalancesTheBoomOnItsCylinder) {
  const double weight = 9.80665 * 6800 * 5.35;
  const pressures_t empty = CylinderPressures(10.7, 0, 0, 9.6, 0);
  EXPECT_NEAR(empty.piston, weight / 1.158025 / 0.0707 / 1e5 + 12 * 0.0393 / 0.0707, 0.01);
  EXPECT_DOUBLE_EQ(empty.rod, 12);
  const pressures_t loaded = CylinderPressures(10.7, 0, 1000, 9.6, 1);
  EXPECT_NEAR(loaded.piston, (weight + 9.80665 * 1000 * 10.7) / 1.158025 / 0.0707 / 1e5 + 42 * 0.0393 / 0.0707,
              0.01);
  EXPECT_DOUBLE_EQ(loaded.rod, 42);
}

TEST(Geometry, KnowsWhatTheBoomPointsOver) {
  const std::pair<double, Area> cases[] = {{0, Area::kFront},      {-5, Area::kFront},  {5.1, Area::kFrontArc},
                                           {-30, Area::kFrontArc}, {31, Area::kSide},   {-150, Area::kSide},
                                           {151, Area::kRear},     {180, Area::kRear},  {-200, Area::kRear},
                                           {330, Area::kFrontArc}, {-360, Area::kFront}};
  for (const auto& [swing, area] : cases) EXPECT_EQ(AreaOf(swing), area) << swing;
}

TEST(Movement, ArrivesSmoothlyAndExactly) {
  Crane crane;
  crane.MoveAngle(45);
  crane.MoveSwing(-90);
  double angle = crane.Angle();
  double speed = 0;
  double fastest = 0;
  for (int i = 0; i < 4000; ++i) {
    crane.Step(kStep_s);
    const double now = (crane.Angle() - angle) / kStep_s;
    EXPECT_LE(std::abs(now - speed), 0.05) << "a jerk at " << crane.Angle();
    EXPECT_LE(crane.Angle(), 45 + 1e-9);
    angle = crane.Angle();
    speed = now;
    fastest = std::max(fastest, now);
  }
  EXPECT_NEAR(fastest, 2.5, 0.05);
  EXPECT_EQ(crane.Angle(), 45);
  EXPECT_EQ(crane.Swing(), -90);
  crane.MoveAngle(200);
  crane.MoveLength(1);
  Pass(crane, 60);
  EXPECT_EQ(crane.Angle(), 80) << "the cylinder's end";
  EXPECT_EQ(crane.Length(), 10.7);
  crane.MoveAngle(10);
  Pass(crane, 2);
  crane.StopAll();
  const double stopped = crane.Angle();
  Pass(crane, 2);
  EXPECT_EQ(crane.Angle(), stopped);
}

TEST(Movement, CountsOnTheLesserBaseWhileOutriggersMove) {
  Crane crane;
  crane.MoveBase(Base::kExtended);
  Pass(crane, 4);
  EXPECT_TRUE(crane.BaseMoves());
  EXPECT_EQ(crane.SafeBase(), Base::kRetracted);
  Pass(crane, 6);
  EXPECT_FALSE(crane.BaseMoves());
  EXPECT_EQ(crane.SafeBase(), Base::kExtended);
  crane.MoveBase(Base::kTires);
  EXPECT_EQ(crane.SafeBase(), Base::kTires);
}

TEST(Hoist, GoesWhereItIsToldAndFollowsTheBoomOnlyWhenHeld) {
  Crane crane;
  crane.MoveAngle(60);
  crane.HoldHook(1.5);
  Pass(crane, 60);
  EXPECT_NEAR(crane.HookHeight(), 1.5, 0.01);
  crane.HoistTo(3);
  Pass(crane, 30);
  EXPECT_NEAR(crane.HookHeight(), 3, 0.01);
  const double drop = crane.HookDrop();
  crane.MoveAngle(70);
  Pass(crane, 20);
  EXPECT_DOUBLE_EQ(crane.HookDrop(), drop) << "the winch stands";
  EXPECT_GT(crane.HookHeight(), 3.2);
  rigging_t rigging = crane.Rigging();
  rigging.parts = 8;
  const double height = crane.HookHeight();
  crane.Rig(rigging);
  EXPECT_NEAR(crane.HookHeight(), height, 1e-9) << "new reeving leaves the hook where it hangs";
}

TEST(Hoist, StopsTheTelescopeAndTheWinchWhenTheHookTouchesTheHead) {
  Crane crane;
  crane.MoveAngle(60);
  Pass(crane, 40);
  crane.HoistTo(crane.SheaveHeight() - 2);
  Pass(crane, 40);
  EXPECT_FALSE(crane.TwoBlocked());
  crane.MoveLength(30);
  Pass(crane, 40);
  EXPECT_TRUE(crane.TwoBlocked());
  EXPECT_NEAR(crane.HookDrop(), 1.5, 0.02);
  EXPECT_NEAR(crane.Length(), 10.7 + 4 * 0.5, 0.05) << "half a metre of drop in four parts of line";
  crane.HoistTo(100);
  Pass(crane, 10);
  EXPECT_GT(crane.HookDrop(), 1.4) << "upwards the winch does not turn";
  crane.HoistTo(2);
  Pass(crane, 40);
  EXPECT_FALSE(crane.TwoBlocked());
  crane.HoistTo(100);
  Pass(crane, 60);
  EXPECT_TRUE(crane.TwoBlocked());
  EXPECT_GT(crane.HookDrop(), 1.2);
}

TEST(Limits, TripBeyondAndHoldUntilTheValueIsBack) {
  struct {
    Quantity quantity;
    limit_t limit;
    double inside, beyond, almostBack;
  } const cases[] = {{Quantity::kAngle, {20, 60}, 40, 60.1, 59.9},
                     {Quantity::kAngle, {20, {}}, 79, 19.9, 20.1},
                     {Quantity::kRadius, {{}, 12}, 0, 12.05, 11.95},
                     {Quantity::kExtension, {{}, 10}, 10, 10.2, 9.95},
                     {Quantity::kSwing, {-30, 30}, -30, -30.5, -29.5}};
  for (const auto& c : cases) {
    Limits limits;
    limits.Check(c.quantity, c.beyond);
    EXPECT_FALSE(limits.AnyTripped()) << "not set";
    limits.Set(c.quantity, c.limit);
    EXPECT_TRUE(limits.IsSet(c.quantity));
    for (const auto& [value, tripped] : {std::pair{c.inside, false},
                                         {c.beyond, true},
                                         {c.almostBack, true},
                                         {std::nan(""), true},
                                         {c.inside + 1.5 * (c.inside < 0) - 1.5 * (c.inside > 9), false}}) {
      limits.Check(c.quantity, value);
      EXPECT_EQ(limits.IsTripped(c.quantity), tripped) << NameOf(kQuantityNames, c.quantity) << value;
    }
    limits.Check(c.quantity, c.beyond);
    limits.Clear(c.quantity);
    EXPECT_FALSE(limits.AnyTripped() || limits.IsSet(c.quantity));
  }
  Limits limits;
  limits.SetAround(Quantity::kAngle, 45.04);
  EXPECT_DOUBLE_EQ(*limits.Get(Quantity::kAngle).least, 40);
  EXPECT_DOUBLE_EQ(*limits.Get(Quantity::kAngle).most, 50);
  limits.SetAround(Quantity::kRadius, 8);
  EXPECT_FALSE(limits.Get(Quantity::kRadius).least);
}

constexpr const char* kSmall =
    "name Small\n"
    "units metric  # metres and kilograms\n"
    "configuration base=extended counterweight=on hook=boom\n"
    "lengths 10 20 30\n"
    "5  10000 8000 -\n"
    "9   6000 5000 4000\n"
    "13     - 3000 2000\n"
    "configuration base=tires arc=front\n"
    "lengths 10\n"
    "5 2000\n"
    "9 1000\n"
    "configuration hook=long-15\n"
    "lengths 30\n"
    "20 900\n";

LoadChart Parse(const std::string& text) {
  std::istringstream in(text);
  return LoadChart::Parse(in, "small.chart");
}

TEST(LoadChart, GivesCapacitiesBetweenItsRowsAndColumns) {
  const LoadChart chart = Parse(kSmall);
  EXPECT_EQ(chart.Name(), "Small");
  const conditions_t rigged{.base = Base::kExtended, .counterweight = true, .jib = {}, .area = Area::kRear};
  struct {
    double radius, length, capacity;
  } const cases[] = {
      {5, 10, 10000},    {9, 30, 4000}, {13, 20, 3000},  // corners
      {5, 15, 9000},     {7, 10, 8000}, {7, 15, 7250},   // half of the way
      {6, 12.5, 8562.5},                                 // a quarter of both ways: of 9500 and 5750
      {11, 25, 3500},    {9, 15, 5500}, {13, 30, 2000}, {4.9, 10, 0},
      {13.1, 20, 0},     {9, 9.9, 0},   {9, 30.1, 0},  // outside
      {5, 25, 0},        {7, 25, 0},    {11, 15, 0},   // beside a gap
      {9, 15.0, 5500},                                 // on a row, the gap below does not count
  };
  for (const auto& c : cases) {
    EXPECT_NEAR(chart.Capacity(rigged, c.radius, c.length), c.capacity, 0.01) << c.radius << " " << c.length;
  }
}

TEST(LoadChart, TakesTheFirstConfigurationThatFits) {
  const LoadChart chart = Parse(kSmall);
  struct {
    conditions_t conditions;
    double radius, length, capacity;
  } const cases[] = {
      {{Base::kExtended, false, {}, Area::kFront}, 5, 10, 0},  // no chart without counterweight
      {{Base::kTires, false, {}, Area::kFrontArc}, 7, 10, 1500},
      {{Base::kTires, false, {}, Area::kSide}, 7, 10, 0},
      {{Base::kHalf, true, Jib::kLong15, Area::kSide}, 20, 30, 900},
      {{Base::kExtended, true, Jib::kLong30, Area::kSide}, 9, 20, 0},
  };
  for (const auto& c : cases) EXPECT_NEAR(chart.Capacity(c.conditions, c.radius, c.length), c.capacity, 0.01);
}

TEST(LoadChart, ConvertsFeetAndPounds) {
  const LoadChart chart = Parse("name F\nunits imperial\nconfiguration\nlengths 100\n10 2000\n20 1000\n");
  EXPECT_NEAR(chart.Capacity({}, 15 * 0.3048, 30.48), 1500 * 0.45359237, 0.01);
}

TEST(LoadChart, SaysWhereAMistakeStands) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ":0: the file holds no configuration"},
      {"units metrical\n", ":1: units are metric or imperial"},
      {"configuration\n", ":1: units"},
      {"units metric\n5 6\n", ":2: \"5\" is not expected"},
      {"units metric\nconfiguration base=tyres\n", ":2: \"base=tyres\" is no attribute"},
      {"units metric\nconfiguration hook=stowed\n", ":2: \"hook=stowed\" is no attribute"},
      {"units metric\nconfiguration\nlengths 10 10\n", ":3: the lengths do not rise"},
      {"units metric\nconfiguration\nlengths 10\nlengths 20\n", ":4: this configuration has its lengths"},
      {"units metric\nconfiguration\nlengths 10\n5 100\n5 90\n", ":5: the radii do not rise"},
      {"units metric\nconfiguration\nlengths 10 20\n5 100\n", ":4: a row has a radius and 2 capacities, this"},
      {"units metric\nconfiguration\nlengths 10\n5 1e9\n", ":4: \"1e9\" is not a number"},
      {"units metric\nconfiguration\nlengths 10\n5 10x\n", ":4: \"10x\" is not a number"},
      {"units metric\n\nconfiguration\nlengths 10\n", ":3: this configuration has no capacities"},
      {"name a name that is much too long for a line\n", ":1: a name has"},
  };
  for (const auto& [text, problem] : cases) {
    EXPECT_THAT([text = text] { Parse(text); },
                testing::ThrowsMessage<chart_error>(testing::StartsWith(std::string("small.chart") + problem)))
        << text;
  }
}

// A chart that gives 10 t everywhere, so that only the rigging counts.
TEST(Rating, TakesOffWhatTheRiggingCosts) {
  const LoadChart chart =
      Parse("name T\nunits metric\nconfiguration\nlengths 10 40\n1 10000 10000\n60 10000 10000\n");
  struct {
    rigging_t rigging;
    double capacity;
  } const cases[] = {
      {{.jib = Jib::kAbsent}, 10000},
      {{.jib = Jib::kStowed}, 9750},
      {{.jib = Jib::kLong0}, 8900},
      {{.jib = Jib::kLong0, .pick = Pick::kFly}, 10000},
      {{.jib = Jib::kStowed, .pick = Pick::kFly}, 0},  // nothing to hang from
      {{.jib = Jib::kAbsent, .pick = Pick::kAux}, 0},
      {{.jib = Jib::kAbsent, .pick = Pick::kAux, .auxHead = true}, 9940},
      {{.jib = Jib::kAbsent, .manBasket = true}, 5000},
      {{.jib = Jib::kAbsent, .manualBoom = true}, 8500},
      {{.jib = Jib::kAbsent, .parts = 1}, 5500},  // the rope's
  };
  for (const auto& c : cases) {
    Crane crane;
    crane.Rig(c.rigging);
    EXPECT_NEAR(RatedCapacity(chart, crane), c.capacity, 0.01);
  }
}

TEST(Rating, KnowsPreAlarmAndOverload) {
  EXPECT_EQ(LevelOf(89.99), Level::kNormal);
  EXPECT_EQ(LevelOf(90), Level::kPreAlarm);
  EXPECT_EQ(LevelOf(99.99), Level::kPreAlarm);
  EXPECT_EQ(LevelOf(100), Level::kOverload);
  EXPECT_DOUBLE_EQ(PercentOf(850, 1000), 85);
  EXPECT_DOUBLE_EQ(PercentOf(1, 0), 999);
  EXPECT_DOUBLE_EQ(PercentOf(0, 0), 0);
}

}  // namespace
}  // namespace crane
