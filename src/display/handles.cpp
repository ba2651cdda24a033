#include "src/display/handles.h"

#include <iterator>
#include <string>

#include "src/core/console.h"

using V = variable_handles_t;

constexpr std::array<variable_name_t, VARIABLE_COUNT> VARIABLE_NAMES = {{
    {"OrvikTires", &V::tires},
    {"OrvikOutriggerRetracted", &V::outriggerRetracted},
    {"OrvikOutriggerHalf", &V::outriggerHalf},
    {"OrvikOutriggerExtended", &V::outriggerExtended},
    {"OrvikPickMainBoom", &V::pickMainBoom},
    {"OrvikPickAux", &V::pickAux},
    {"OrvikPickFly", &V::pickFly},
    {"OrvikJibShortFly0", &V::jibShortFly0},
    {"OrvikJibLongFly0", &V::jibLongFly0},
    {"OrvikJibShortFly15", &V::jibShortFly15},
    {"OrvikJibLongFly15", &V::jibLongFly15},
    {"OrvikJibShortFly30", &V::jibShortFly30},
    {"OrvikJibLongFly30", &V::jibLongFly30},
    {"OrvikFrontWinch", &V::frontWinch},
    {"OrvikRearWinch", &V::rearWinch},
    {"OrvikCounterweight", &V::counterweight},
    {"OrvikStowed", &V::stowed},
    {"OrvikBoomMode", &V::boomMode},
    {"OrvikAuxHead", &V::auxHead},
    {"OrvikAlarmSet", &V::alarmSet},
    {"OrvikPreAlarm", &V::preAlarm},
    {"OrvikOverload", &V::overload},
    {"OrvikA2B", &V::a2b},
    {"OrvikPercentSafeWorkingLoad", &V::percentSafeWorkingLoad},
    {"OrvikCapacity", &V::capacity},
    {"OrvikPartsOfLine", &V::partsOfLine},
    {"OrvikLoad", &V::load},
    {"OrvikExtension", &V::extension},
    {"OrvikAngle", &V::angle},
    {"OrvikRadius", &V::radius},
    {"OrvikSwing", &V::swing},
    {"OrvikSwingMode", &V::swingMode},
    {"OrvikBrightness", &V::brightness},
    {"OrvikAlarmLED", &V::alarmLED},
    {"OrvikBeepImage", &V::beepImage},
    {"OrvikLanguage", &V::language},
    {"OrvikAngleAlarmSet", &V::angleAlarmSet},
    {"OrvikAngleAlarmTripped", &V::angleAlarmTripped},
    {"OrvikRadiusAlarmSet", &V::radiusAlarmSet},
    {"OrvikRadiusAlarmTripped", &V::radiusAlarmTripped},
    {"OrvikExtensionAlarmSet", &V::extensionAlarmSet},
    {"OrvikExtensionAlarmTripped", &V::extensionAlarmTripped},
    {"OrvikSwingAlarmSet", &V::swingAlarmSet},
    {"OrvikSwingAlarmTripped", &V::swingAlarmTripped},
    {"OrvikErectedIcon", &V::erectedIcon},
    {"OrvikStowedIcon", &V::stowedIcon},
    {"OrvikRodPressure", &V::rodPressure},
    {"OrvikPistonPressure", &V::pistonPressure},
    {"RealTimeClock.Second", &V::rtcSecond},
    {"RealTimeClock.Minute", &V::rtcMinute},
    {"RealTimeClock.Hour", &V::rtcHour},
    {"RealTimeClock.Day", &V::rtcDay},
    {"RealTimeClock.Month", &V::rtcMonth},
    {"RealTimeClock.Year", &V::rtcYear},
    {"RealTimeClock.DayOfWeek", &V::rtcDayOfWeek},
    {"RealTimeClock.IsAvailable", &V::rtcIsAvailable},
    {"OrvikHX7TimeOutLamp", &V::hx7LinkState},
    {"OrvikLindarKeysEnabled", &V::lindarKeysEnabled},
    {"OrvikGaugesKeysEnabled", &V::gaugesKeysEnabled},
    {"OrvikECUTimeOutLamp", &V::ecuTimeOutLamp},
    {"OrvikHornMode", &V::hornMode},
    {"OrvikManBasket", &V::manBasket},
    {"OrvikExternalKeysEnabled", &V::externalKeysEnabled},
    {"OrvikInternalSystemKeyCode", &V::internalSystemKeyCode},
    {"OrvikExternalSystemKeyCode", &V::externalSystemKeyCode},
    {"OrvikTotalHX7Commands", &V::totalHX7Commands},
    {"PlugA.Resistor", &V::plugAResistor},
}};
static_assert(!VARIABLE_NAMES.back().name.empty(), "each member of variable_handles_t has a row");

namespace {

using G = gauge_handles_t;

struct line_set_name_t {
  const line_names_t& names;
  G::line_set_t G::*handles;
  std::string_view label;
};

// In the order of the look-up and of the dump. "Choice4BotLineWidgetsSt = " is misspelt in the console
// interface.
constexpr line_set_name_t LINE_SETS[] = {
    {OPERATING_LINE_WIDGET_NAMES_STD, &G::operatingStd, "OperatingLineWidgetsStd = "},
    {OPERATING_LINE_WIDGET_NAMES_WIDE, &G::operatingWide, "OperatingLineWidgetsWide = "},
    {CHOICE4TOP_LINE_WIDGET_NAMES_STD, &G::choice4TopStd, "Choice4TopLineWidgetsStd = "},
    {CHOICE4TOP_LINE_WIDGET_NAMES_WIDE, &G::choice4TopWide, "Choice4TopLineWidgetsWide = "},
    {CHOICE4MID_LINE_WIDGET_NAMES_STD, &G::choice4MidStd, "Choice4MidLineWidgetsStd = "},
    {CHOICE4MID_LINE_WIDGET_NAMES_WIDE, &G::choice4MidWide, "Choice4MidLineWidgetsWide = "},
    {CHOICE4BOT_LINE_WIDGET_NAMES_STD, &G::choice4BotStd, "Choice4BotLineWidgetsSt = "},
    {CHOICE4BOT_LINE_WIDGET_NAMES_WIDE, &G::choice4BotWide, "Choice4BotLineWidgetsWide = "},
    {WAD_LINE_WIDGET_NAMES_STD, &G::wadStd, "WadLineWidgetsStd = "},
    {WAD_LINE_WIDGET_NAMES_WIDE, &G::wadWide, "WadLineWidgetsWide = "},
    {SLATE_LINE_WIDGET_NAMES_STD, &G::slateStd, "SlateLineWidgetsStd = "},
    {SLATE_LINE_WIDGET_NAMES_WIDE, &G::slateWide, "SlateLineWidgetsWide = "},
};

// A single widget. One without a label is not dumped.
struct single_name_t {
  std::string_view name;
  handle_t G::*handle;
  std::string_view label;
};

constexpr single_name_t SINGLES[] = {
    {FLASH_MSG_WIDGET_NAME_STD, &G::flashMsgStd, "FlashMsgWidgetStd = "},
    {FLASH_MSG_WIDGET_NAME_WIDE, &G::flashMsgWide, "FlashMsgWidgetWide = "},
    {CAPACITY_WIDGET_NAME, &G::capacity, "CapacityWidget = "},
    {LOAD_WIDGET_NAME, &G::load, "LoadWidge = "},
    {EXTENSION_WIDGET_NAME, &G::extension, ""},
    {ANGLE_WIDGET_NAME, &G::angle, ""},
    {RADIUS_WIDGET_NAME, &G::radius, ""},
    {SWING_WIDGET_NAME, &G::swing, ""},
    {UNITS_WEIGHT_WIDGET_NAME, &G::unitsWeight, ""},
    {UNITS_DISTANCE_WIDGET_NAME, &G::unitsDistance, ""},
    {MAIN_ERECTED_WIDGET_NAME_STD, &G::mainErectedStd, "MainErectedWidgetStd = "},
    {MAIN_ERECTED_WIDGET_NAME_WIDE, &G::mainErectedWide, "MainErectedWidgetWide = "},
    {MAIN_STOWED_WIDGET_NAME_STD, &G::mainStowedStd, "MainStowedWidgetStd = "},
    {MAIN_STOWED_WIDGET_NAME_WIDE, &G::mainStowedWide, "MainStowedWidgetWide = "},
    {CONFIG_ERECTED_WIDGET_NAME_STD, &G::configErectedStd, "ConfigErectedWidgetStd = "},
    {CONFIG_ERECTED_WIDGET_NAME_WIDE, &G::configErectedWide, "ConfigErectedWidgetWide = "},
    {CONFIG_STOWED_WIDGET_NAME_STD, &G::configStowedStd, "ConfigStowedWidgetStd = "},
    {CONFIG_STOWED_WIDGET_NAME_WIDE, &G::configStowedWide, "ConfigStowedWidgetWide = "},
    {WAD_CAPACITY_WIDGET_NAME, &G::wadCapacity, ""},
    {WAD_LOAD_WIDGET_NAME, &G::wadLoad, ""},
    {WAD_EXTENSION_WIDGET_NAME, &G::wadExtension, ""},
    {WAD_ANGLE_WIDGET_NAME, &G::wadAngle, ""},
    {WAD_RADIUS_WIDGET_NAME, &G::wadRadius, ""},
    {WAD_SWING_WIDGET_NAME, &G::wadSwing, ""},
    {WAD_UNITS_WEIGHT_WIDGET_NAME, &G::wadUnitsWeight, ""},
    {WAD_UNITS_DISTANCE_WIDGET_NAME, &G::wadUnitsDistance, ""},
};

static_assert(sizeof(G) == (std::size(LINE_SETS) * GRID_LINES + std::size(SINGLES)) * sizeof(handle_t),
              "each member of gauge_handles_t has a row");

void DumpHandle(std::string_view label, unsigned handle) {
  PrintOut(std::string(label) + std::to_string(handle));
}

}  // namespace

void InitGaugeHandles(orvikData_t* data) {
  const auto lookUp = [data](std::string_view name) {
    return static_cast<unsigned>(data->screenObjectIds[std::string(name)]);
  };
  std::vector<unsigned> widgets;
  for (std::size_t line = 0; line < GRID_LINES; ++line) {
    for (const line_set_name_t& set : LINE_SETS) {
      widgets.push_back((data->gauges.*set.handles)[line] = lookUp(set.names[line]));
    }
  }
  for (const single_name_t& single : SINGLES) {
    widgets.push_back(data->gauges.*single.handle = lookUp(single.name));
  }
  // Only the first time: key threads read the list without a lock, and later look-ups find the same handles.
  if (data->textWidgets.empty()) data->textWidgets = std::move(widgets);
}

void InitVariableHandles(orvikData_t* data) {
  for (const variable_name_t& variable : VARIABLE_NAMES) {
    data->variables.*variable.handle = static_cast<unsigned>(data->variableHandles[std::string(variable.name)]);
  }
}

void DumpGaugeHandles(const orvikData_t* data) {
  for (const line_set_name_t& set : LINE_SETS) DumpHandle(set.label, (data->gauges.*set.handles)[0]);
  for (const single_name_t& single : SINGLES) {
    if (!single.label.empty()) DumpHandle(single.label, data->gauges.*single.handle);
  }
}
