// The crane's geometry, movements and load charts against values that were calculated by hand.
#include "host/crane/crane.h"

#include <cmath>
#include <sstream>
#include <tuple>

#include <gmock/gmock.h>

#include "host/crane/limits.h"
#include "host/crane/load_chart.h"
#include "host/crane/rating.h"

namespace crane {
namespace {

constexpr double STEP_S = 0.01;

void Pass(Crane& crane, double seconds) {
  for (int i = 0; i < std::lround(seconds / STEP_S); ++i) crane.Step(STEP_S);
}

// At 0 degrees the pins are (1.9, -0.75) and (3.2, -0.45): the cylinder's arm is 1.545 / 1.33417 = 1.158025 m.
TEST(GeometryTest, BalancesTheBoomOnItsCylinder) {
  const double weight = 9.80665 * 6800 * 5.35;
  const pressures_t empty = CylinderPressures(10.7, 0, 0, 9.6, 0);
  EXPECT_NEAR(empty.piston, weight / 1.158025 / 0.0707 / 1e5 + 12 * 0.0393 / 0.0707, 0.01);
  EXPECT_DOUBLE_EQ(empty.rod, 12);
  const pressures_t loaded = CylinderPressures(10.7, 0, 1000, 9.6, 1);
  EXPECT_NEAR(loaded.piston, (weight + 9.80665 * 1000 * 10.7) / 1.158025 / 0.0707 / 1e5 + 42 * 0.0393 / 0.0707,
              0.01);
  EXPECT_DOUBLE_EQ(loaded.rod, 42);
}

TEST(GeometryTest, KnowsWhatTheBoomPointsOver) {
  const std::pair<double, area_t> cases[] = {
      {0, area_t::FRONT},   {-5, area_t::FRONT},      {5.1, area_t::FRONT_ARC}, {-30, area_t::FRONT_ARC},
      {31, area_t::SIDE},   {-150, area_t::SIDE},     {151, area_t::REAR},      {180, area_t::REAR},
      {-200, area_t::REAR}, {330, area_t::FRONT_ARC}, {-360, area_t::FRONT}};
  for (const auto& [swing, area] : cases) EXPECT_EQ(AreaOf(swing), area) << swing;
}

TEST(MovementTest, ArrivesSmoothlyAndExactly) {
  Crane crane;
  crane.MoveAngle(45);
  crane.MoveSwing(-90);
  double angle = crane.Angle();
  double speed = 0;
  double fastest = 0;
  for (int i = 0; i < 4000; ++i) {
    crane.Step(STEP_S);
    const double now = (crane.Angle() - angle) / STEP_S;
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
  EXPECT_EQ(crane.Angle(), 80) << "the end of the cylinder's stroke";
  EXPECT_EQ(crane.Length(), 10.7);
  crane.MoveAngle(10);
  Pass(crane, 2);
  crane.StopAll();
  const double stopped = crane.Angle();
  Pass(crane, 2);
  EXPECT_EQ(crane.Angle(), stopped);
}

// What else two-block does shows golden_transcripts/two-block.log.
TEST(HoistTest, StopsTheWinchWhenTheHookTouchesTheHead) {
  Crane crane;
  crane.MoveAngle(60);
  Pass(crane, 40);
  crane.HoistTo(100);
  Pass(crane, 60);
  EXPECT_TRUE(crane.TwoBlocked());
  EXPECT_GT(crane.HookDrop(), 1.2);
}

TEST(LimitsTest, TripBeyondAndHoldUntilTheValueIsBack) {
  const std::tuple<quantity_t, limit_t, double, double, double> cases[] = {
      {quantity_t::ANGLE, {20, 60}, 40, 60.1, 59.9},
      {quantity_t::ANGLE, {20, {}}, 79, 19.9, 20.1},
      {quantity_t::RADIUS, {{}, 12}, 0, 12.05, 11.95},
      {quantity_t::EXTENSION, {{}, 10}, 10, 10.2, 9.95},
      {quantity_t::SWING, {-30, 30}, -30, -30.5, -29.5}};
  for (const auto& [quantity, limit, inside, beyond, almostBack] : cases) {
    SCOPED_TRACE(NameOf(QUANTITY_NAMES, quantity));
    Limits limits;
    limits.Check(quantity, beyond);
    EXPECT_FALSE(limits.AnyTripped()) << "not set";
    limits.Set(quantity, limit);
    EXPECT_TRUE(limits.IsSet(quantity));
    for (const auto& [value, tripped] : {std::pair{inside, false},
                                         {beyond, true},
                                         {almostBack, true},
                                         {std::nan(""), true},
                                         {inside + 1.5 * (inside < 0) - 1.5 * (inside > 9), false}}) {
      limits.Check(quantity, value);
      EXPECT_EQ(limits.IsTripped(quantity), tripped) << value;
    }
    limits.Check(quantity, beyond);
    limits.Clear(quantity);
    EXPECT_FALSE(limits.AnyTripped() || limits.IsSet(quantity));
  }
  Limits limits;
  limits.SetAround(quantity_t::ANGLE, 45.04);
  EXPECT_DOUBLE_EQ(*limits.Get(quantity_t::ANGLE).least, 40);
  EXPECT_DOUBLE_EQ(*limits.Get(quantity_t::ANGLE).most, 50);
  limits.SetAround(quantity_t::RADIUS, 8);
  EXPECT_FALSE(limits.Get(quantity_t::RADIUS).least);
}

constexpr const char* SMALL =
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

TEST(LoadChartTest, GivesCapacitiesBetweenItsRowsAndColumns) {
  const LoadChart chart = Parse(SMALL);
  EXPECT_EQ(chart.Name(), "Small");
  const conditions_t rigged{.base = base_t::EXTENDED, .counterweight = true, .jib = {}, .area = area_t::REAR};
  const std::tuple<double, double, double> cases[] = {
      {5, 10, 10000},    {9, 30, 4000}, {13, 20, 3000},  // corners
      {5, 15, 9000},     {7, 10, 8000}, {7, 15, 7250},   // half of the way
      {6, 12.5, 8562.5},                                 // a quarter of both ways: of 9500 and 5750
      {11, 25, 3500},    {9, 15, 5500}, {13, 30, 2000}, {4.9, 10, 0},
      {13.1, 20, 0},     {9, 9.9, 0},   {9, 30.1, 0},  // outside
      {5, 25, 0},        {7, 25, 0},    {11, 15, 0},   // beside a gap
      {9, 15.0, 5500},                                 // on a row, the gap below does not count
  };
  for (const auto& [radius, length, capacity] : cases) {
    EXPECT_NEAR(chart.Capacity(rigged, radius, length), capacity, 0.01) << radius << " " << length;
  }
}

TEST(LoadChartTest, TakesTheFirstConfigurationThatFits) {
  const LoadChart chart = Parse(SMALL);
  const std::tuple<const char*, conditions_t, double, double, double> cases[] = {
      {"no chart without counterweight", {base_t::EXTENDED, false, {}, area_t::FRONT}, 5, 10, 0},
      {"on tires over the front arc", {base_t::TIRES, false, {}, area_t::FRONT_ARC}, 7, 10, 1500},
      {"no chart on tires over the side", {base_t::TIRES, false, {}, area_t::SIDE}, 7, 10, 0},
      {"on the long jib at 15 degrees", {base_t::HALF, true, jib_t::LONG15, area_t::SIDE}, 20, 30, 900},
      {"no chart for the jib at 30 degrees", {base_t::EXTENDED, true, jib_t::LONG30, area_t::SIDE}, 9, 20, 0},
  };
  for (const auto& [name, conditions, radius, length, capacity] : cases) {
    EXPECT_NEAR(chart.Capacity(conditions, radius, length), capacity, 0.01) << name;
  }
}

TEST(LoadChartTest, ConvertsFeetAndPounds) {
  const LoadChart chart = Parse("name F\nunits imperial\nconfiguration\nlengths 100\n10 2000\n20 1000\n");
  EXPECT_NEAR(chart.Capacity({}, 15 * 0.3048, 30.48), 1500 * 0.45359237, 0.01);
}

TEST(LoadChartTest, SaysWhereAMistakeStands) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ":0: the file holds no configuration"},
      {"units metrical\n", ":1: units must be metric or imperial"},
      {"configuration\n", ":1: units"},
      {"units metric\n5 6\n", ":2: \"5\" is not expected"},
      {"units metric\nconfiguration base=tyres\n", ":2: \"base=tyres\" is not an attribute"},
      {"units metric\nconfiguration hook=stowed\n", ":2: \"hook=stowed\" is not an attribute"},
      {"units metric\nconfiguration\nlengths 10 10\n", ":3: the lengths must increase"},
      {"units metric\nconfiguration\nlengths 10\nlengths 20\n", ":4: this configuration has its lengths"},
      {"units metric\nconfiguration\nlengths 10\n5 100\n5 90\n", ":5: the radii must increase"},
      {"units metric\nconfiguration\nlengths 10 20\n5 100\n", ":4: a row has a radius and 2 capacities, this"},
      {"units metric\nconfiguration\nlengths 10\n5 1e9\n", ":4: \"1e9\" is not a number"},
      {"units metric\nconfiguration\nlengths 10\n5 10x\n", ":4: \"10x\" is not a number"},
      {"units metric\n\nconfiguration\nlengths 10\n", ":3: this configuration has no capacities"},
      {"name a name that is much too long for a line\n", ":1: a name has"},
  };
  for (const auto& [text, problem] : cases) {
    EXPECT_THAT([text = text] { Parse(text); },
                testing::ThrowsMessage<ChartError>(testing::StartsWith(std::string("small.chart") + problem)))
        << text;
  }
}

// The chart gives 10 t everywhere. What the rigging takes off shows golden_transcripts/host-keys.log.
TEST(RatingTest, IsNothingWhereTheHookHasNoPlace) {
  const LoadChart chart =
      Parse("name T\nunits metric\nconfiguration\nlengths 10 40\n1 10000 10000\n60 10000 10000\n");
  for (const pick_t pick : {pick_t::MAIN_BOOM, pick_t::AUX, pick_t::FLY}) {
    Crane crane;
    crane.Rig({.jib = jib_t::STOWED, .pick = pick});
    EXPECT_EQ(RatedCapacity(chart, crane) > 0, pick == pick_t::MAIN_BOOM);
  }
}

TEST(RatingTest, KnowsPreAlarmAndOverload) {
  EXPECT_EQ(LevelOf(89.99), level_t::NORMAL);
  EXPECT_EQ(LevelOf(90), level_t::PRE_ALARM);
  EXPECT_EQ(LevelOf(99.99), level_t::PRE_ALARM);
  EXPECT_EQ(LevelOf(100), level_t::OVERLOAD);
  EXPECT_DOUBLE_EQ(PercentOf(850, 1000), 85);
  EXPECT_DOUBLE_EQ(PercentOf(1, 0), 999);
  EXPECT_DOUBLE_EQ(PercentOf(0, 0), 0);
}

}  // namespace
}  // namespace crane
