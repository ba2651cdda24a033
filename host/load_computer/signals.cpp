#include "host/load_computer/signals.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <string_view>

#include "host/crane/rating.h"

namespace simulate {
namespace {

constexpr double GREEN = 1;
constexpr double YELLOW = 2;
constexpr double RED = 3;
constexpr double UNKNOWN_SWING = 32767;  // an integer has no NaN; the display shows dashes for this value

// The protocol's swing modes.
enum swing_mode_t : std::uint8_t { NUMBER, FRONT, REAR, SIDE, ALL_ROUND, NOT_AVAILABLE, FRONT_ARC };
constexpr std::array<swing_mode_t, 4> AREA_MODES = {FRONT, FRONT_ARC, SIDE, REAR};

std::uint32_t Lamp(std::string_view name) {
  const auto names = host::LampNames();
  const auto found = std::ranges::find(names, name);
  assert(found != names.end());
  return 1U << static_cast<unsigned>(found - names.begin());
}

// Collects lamps by name.
class LampWord {
 public:
  void Add(std::string_view name, bool lit) {
    if (lit) word_ |= Lamp(name);
  }
  // Adds the lamp that is so many bits above the named one.
  void AddFrom(std::string_view name, unsigned above) { word_ |= Lamp(name) << above; }
  std::uint32_t Word() const { return word_; }

 private:
  std::uint32_t word_ = 0;
};

void AddRigging(const crane::rigging_t& rigging, LampWord& lamps) {
  lamps.Add("rear-winch", rigging.winch == crane::winch_t::REAR);
  lamps.Add("front-winch", rigging.winch == crane::winch_t::FRONT);
  lamps.Add("counterweight", rigging.counterweight);
  lamps.Add("stowed", rigging.jib == crane::jib_t::STOWED);
  lamps.Add("boom-mode", rigging.manualBoom);
  lamps.Add("aux-head", rigging.auxHead);
  lamps.Add("man-basket", rigging.manBasket);
  // The lamp word has the erected jibs and the picks in the order of their enumerations.
  if (crane::IsErected(rigging.jib)) {
    lamps.AddFrom("jib-long-fly-0",
                  static_cast<unsigned>(rigging.jib) - static_cast<unsigned>(crane::jib_t::LONG0));
  }
  lamps.AddFrom("pick-main-boom", static_cast<unsigned>(rigging.pick));
}

void AddAlarms(const cab_t& cab, LampWord& lamps) {
  const crane::level_t level =
      std::isnan(cab.measured.percent) ? crane::level_t::NORMAL : crane::LevelOf(cab.measured.percent);
  lamps.Add("prealarm", level != crane::level_t::NORMAL);
  lamps.Add("overload", level == crane::level_t::OVERLOAD);
  lamps.Add("a2b", cab.measured.twoBlock);
  lamps.Add("alarm", cab.bell.Now() != alarm_t::NONE);
  // Each quantity has two lamps, set and tripped, in the order of the enumeration.
  for (unsigned i = 0; i < crane::QUANTITY_NAMES.size(); ++i) {
    const auto quantity = static_cast<crane::quantity_t>(i);
    if (cab.limits.IsSet(quantity)) lamps.AddFrom("angle-alarm-set", 2 * i);
    if (cab.limits.IsTripped(quantity)) lamps.AddFrom("angle-alarm-tripped", 2 * i);
  }
}

void AddBase(const crane::Crane& crane, LampWord& lamps) {
  const auto colors = BaseColors(crane);
  for (unsigned i = 0; i < colors.size(); ++i) {
    if (colors[i] != 0) lamps.AddFrom("tires", i);
  }
}

// The arc that the load chart covers in the present configuration. A chart for the rear covers all round,
// except that on tires the chart over the front is another.
swing_mode_t FindChartArc(const crane::Crane& crane, const crane::LoadChart& chart) {
  crane::conditions_t conditions{.base = crane.SafeBase(),
                                 .counterweight = crane.Rigging().counterweight,
                                 .jib = {},
                                 .area = crane::area_t::REAR};
  if (crane.Rigging().pick == crane::pick_t::FLY) conditions.jib = crane.Rigging().jib;
  const crane::area_t area = crane.Over();
  if (chart.Has(conditions)) {
    const bool front = area == crane::area_t::FRONT || area == crane::area_t::FRONT_ARC;
    return conditions.base == crane::base_t::TIRES && front ? FRONT_ARC : ALL_ROUND;
  }
  conditions.area = area;
  return chart.Has(conditions) ? FRONT_ARC : NOT_AVAILABLE;
}

}  // namespace

std::uint32_t MakeLampWord(const cab_t& cab) {
  LampWord lamps;
  AddAlarms(cab, lamps);
  AddRigging(cab.crane.Rigging(), lamps);
  AddBase(cab.crane, lamps);
  return lamps.Word();
}

std::array<double, 4> BaseColors(const crane::Crane& crane) {
  std::array<double, 4> colors{};
  const auto wanted = static_cast<std::size_t>(crane.WantedBase());
  const auto stands = static_cast<std::size_t>(crane.SafeBase());
  if (crane.BaseMoves() && stands != wanted) colors[stands] = RED;
  colors[wanted] = crane.BaseMoves() ? YELLOW : GREEN;
  return colors;
}

unsigned FindSwingMode(const cab_t& cab, const crane::LoadChart& chart) {
  if (cab.settings.swing == swing_shown_t::NUMBER) return NUMBER;
  if (cab.settings.swing == swing_shown_t::AREA) return AREA_MODES[static_cast<std::size_t>(cab.crane.Over())];
  return FindChartArc(cab.crane, chart);
}

void FillValues(const cab_t& cab, host::Cmd2Values& values) {
  const measured_t& now = cab.measured;
  const units_t units = cab.settings.units;
  values.Set("capacity", Weight(now.capacity, units));
  values.Set("load", Weight(now.load, units));
  values.Set("radius", Length(now.radius, units));
  values.Set("angle", now.angle);
  values.Set("extension", Length(now.extension, units));
  values.Set("percent", now.percent);
  values.Set("parts-of-line", cab.crane.Rigging().parts);
  values.Set("led", MakeLampWord(cab));
  values.Set("swing", std::isnan(now.swing) ? UNKNOWN_SWING : std::round(now.swing));
  values.Set("piston-pressure", Pressure(now.piston, units));
  values.Set("rod-pressure", Pressure(now.rod, units));
}

}  // namespace simulate
