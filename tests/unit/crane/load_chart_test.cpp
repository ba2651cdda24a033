// Load charts: reading, interpolation, and what the crane's rigging leaves of a capacity.
#include "crane/load_chart.h"

#include <sstream>

#include <gmock/gmock.h>

#include "crane/rating.h"

namespace crane {
namespace {

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
    try {
      Parse(text);
      ADD_FAILURE() << "taken: " << text;
    } catch (const chart_error& error) {
      EXPECT_THAT(error.what(), testing::StartsWith(std::string("small.chart") + problem));
    }
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
