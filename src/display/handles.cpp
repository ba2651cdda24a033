#include "src/display/handles.h"

#include <string>

#include "src/core/console.h"

const line_names_t OPERATING_LINE_WIDGET_NAMES_STD = {"orvikTextWidgetLine1Std", "orvikTextWidgetLine2Std",
                                                      "orvikTextWidgetLine3Std", "orvikTextWidgetLine4Std"};
const line_names_t OPERATING_LINE_WIDGET_NAMES_WIDE = {"orvikTextWidgetLine1Wide", "orvikTextWidgetLine2Wide",
                                                       "orvikTextWidgetLine3Wide", "orvikTextWidgetLine4Wide"};
const line_names_t CHOICE4TOP_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetTopLine1Std", "orvikTextWidgetTopLine2Std", "orvikTextWidgetTopLine3Std",
    "orvikTextWidgetTopLine4Std"};
const line_names_t CHOICE4TOP_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetTopLine1Wide", "orvikTextWidgetTopLine2Wide", "orvikTextWidgetTopLine3Wide",
    "orvikTextWidgetTopLine4Wide"};
const line_names_t CHOICE4MID_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetMidLine1Std", "orvikTextWidgetMidLine2Std", "orvikTextWidgetMidLine3Std",
    "orvikTextWidgetMidLine4Std"};
const line_names_t CHOICE4MID_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetMidLine1Wide", "orvikTextWidgetMidLine2Wide", "orvikTextWidgetMidLine3Wide",
    "orvikTextWidgetMidLine4Wide"};
const line_names_t CHOICE4BOT_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetBotLine1Std", "orvikTextWidgetBotLine2Std", "orvikTextWidgetBotLine3Std",
    "orvikTextWidgetBotLine4Std"};
const line_names_t CHOICE4BOT_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetBotLine1Wide", "orvikTextWidgetBotLine2Wide", "orvikTextWidgetBotLine3Wide",
    "orvikTextWidgetBotLine4Wide"};
const line_names_t WAD_LINE_WIDGET_NAMES_STD = {"orvikTextWidgetWadLine1Std", "orvikTextWidgetWadLine2Std",
                                                "orvikTextWidgetWadLine3Std", "orvikTextWidgetWadLine4Std"};
const line_names_t WAD_LINE_WIDGET_NAMES_WIDE = {"orvikTextWidgetWadLine1Wide", "orvikTextWidgetWadLine2Wide",
                                                 "orvikTextWidgetWadLine3Wide", "orvikTextWidgetWadLine4Wide"};
const line_names_t SLATE_LINE_WIDGET_NAMES_STD = {
    "orvikTextWidgetSlateLine1Std", "orvikTextWidgetSlateLine2Std", "orvikTextWidgetSlateLine3Std",
    "orvikTextWidgetSlateLine4Std"};
const line_names_t SLATE_LINE_WIDGET_NAMES_WIDE = {
    "orvikTextWidgetSlateLine1Wide", "orvikTextWidgetSlateLine2Wide", "orvikTextWidgetSlateLine3Wide",
    "orvikTextWidgetSlateLine4Wide"};

const std::string_view FLASH_MSG_WIDGET_NAME_STD = "orvikTextWidgetFlashMsgStd";
const std::string_view FLASH_MSG_WIDGET_NAME_WIDE = "orvikTextWidgetFlashMsgWide";
const std::string_view CAPACITY_WIDGET_NAME = "orvikTextWidgetCapacity";
const std::string_view LOAD_WIDGET_NAME = "orvikTextWidgetLoad";
const std::string_view EXTENSION_WIDGET_NAME = "orvikTextWidgetExtension";
const std::string_view ANGLE_WIDGET_NAME = "orvikTextWidgetAngle";
const std::string_view RADIUS_WIDGET_NAME = "orvikTextWidgetRadius";
const std::string_view SWING_WIDGET_NAME = "orvikTextWidgetSwing";
const std::string_view UNITS_WEIGHT_WIDGET_NAME = "orvikTextWidgetUnitsWeight";
const std::string_view UNITS_DISTANCE_WIDGET_NAME = "orvikTextWidgetUnitsDistance";
const std::string_view MAIN_ERECTED_WIDGET_NAME_STD = "orvikTextWidgetMainErectedStd";
const std::string_view MAIN_ERECTED_WIDGET_NAME_WIDE = "orvikTextWidgetMainErectedWide";
const std::string_view MAIN_STOWED_WIDGET_NAME_STD = "orvikTextWidgetMainStowedStd";
const std::string_view MAIN_STOWED_WIDGET_NAME_WIDE = "orvikTextWidgetMainStowedWide";
const std::string_view CONFIG_ERECTED_WIDGET_NAME_STD = "orvikTextWidgetConfigErectedStd";
const std::string_view CONFIG_ERECTED_WIDGET_NAME_WIDE = "orvikTextWidgetConfigErectedWide";
const std::string_view CONFIG_STOWED_WIDGET_NAME_STD = "orvikTextWidgetConfigStowedStd";
const std::string_view CONFIG_STOWED_WIDGET_NAME_WIDE = "orvikTextWidgetConfigStowedWide";
const std::string_view WAD_CAPACITY_WIDGET_NAME = "orvikTextWidgetWadCapacity";
const std::string_view WAD_LOAD_WIDGET_NAME = "orvikTextWidgetWadLoad";
const std::string_view WAD_EXTENSION_WIDGET_NAME = "orvikTextWidgetWadExtension";
const std::string_view WAD_ANGLE_WIDGET_NAME = "orvikTextWidgetWadAngle";
const std::string_view WAD_RADIUS_WIDGET_NAME = "orvikTextWidgetWadRadius";
const std::string_view WAD_SWING_WIDGET_NAME = "orvikTextWidgetWadSwing";
const std::string_view WAD_UNITS_WEIGHT_WIDGET_NAME = "orvikTextWidgetWadUnitsWeight";
const std::string_view WAD_UNITS_DISTANCE_WIDGET_NAME = "orvikTextWidgetWadUnitsDistance";
const std::string_view MAIN_EXTENSION_WIDGET_NAME = "orvikTextWidgetMainExtension";
const std::string_view MAIN_ANGLE_WIDGET_NAME = "orvikTextWidgetMainAngle";
const std::string_view MAIN_RADIUS_WIDGET_NAME = "orvikTextWidgetMainRadius";
const std::string_view SLATE_BUTTON6_WIDGET_NAME = "orvikTextWidgetSlateButton6Icon";

using V = variable_handles_t;

const std::array<variable_name_t, VARIABLE_COUNT> VARIABLE_NAMES = {{
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

namespace {

using G = gauge_handles_t;

struct line_set_name_t {
  const line_names_t* names;
  G::line_set_t G::*handles;
  std::string_view label;
};

// In the order of the look-up and of the dump; the shortened label is the system's own.
const line_set_name_t LINE_SETS[] = {
    {&OPERATING_LINE_WIDGET_NAMES_STD, &G::operatingStd, "OperatingLineWidgetsStd = "},
    {&OPERATING_LINE_WIDGET_NAMES_WIDE, &G::operatingWide, "OperatingLineWidgetsWide = "},
    {&CHOICE4TOP_LINE_WIDGET_NAMES_STD, &G::choice4TopStd, "Choice4TopLineWidgetsStd = "},
    {&CHOICE4TOP_LINE_WIDGET_NAMES_WIDE, &G::choice4TopWide, "Choice4TopLineWidgetsWide = "},
    {&CHOICE4MID_LINE_WIDGET_NAMES_STD, &G::choice4MidStd, "Choice4MidLineWidgetsStd = "},
    {&CHOICE4MID_LINE_WIDGET_NAMES_WIDE, &G::choice4MidWide, "Choice4MidLineWidgetsWide = "},
    {&CHOICE4BOT_LINE_WIDGET_NAMES_STD, &G::choice4BotStd, "Choice4BotLineWidgetsSt = "},
    {&CHOICE4BOT_LINE_WIDGET_NAMES_WIDE, &G::choice4BotWide, "Choice4BotLineWidgetsWide = "},
    {&WAD_LINE_WIDGET_NAMES_STD, &G::wadStd, "WadLineWidgetsStd = "},
    {&WAD_LINE_WIDGET_NAMES_WIDE, &G::wadWide, "WadLineWidgetsWide = "},
    {&SLATE_LINE_WIDGET_NAMES_STD, &G::slateStd, "SlateLineWidgetsStd = "},
    {&SLATE_LINE_WIDGET_NAMES_WIDE, &G::slateWide, "SlateLineWidgetsWide = "},
};

// The widgets beside the lines; those without a label are not dumped.
struct single_name_t {
  const std::string_view* name;
  handle_t G::*handle;
  std::string_view label;
};

const single_name_t SINGLES[] = {
    {&FLASH_MSG_WIDGET_NAME_STD, &G::flashMsgStd, "FlashMsgWidgetStd = "},
    {&FLASH_MSG_WIDGET_NAME_WIDE, &G::flashMsgWide, "FlashMsgWidgetWide = "},
    {&CAPACITY_WIDGET_NAME, &G::capacity, "CapacityWidget = "},
    {&LOAD_WIDGET_NAME, &G::load, "LoadWidge = "},
    {&EXTENSION_WIDGET_NAME, &G::extension, ""},
    {&ANGLE_WIDGET_NAME, &G::angle, ""},
    {&RADIUS_WIDGET_NAME, &G::radius, ""},
    {&SWING_WIDGET_NAME, &G::swing, ""},
    {&UNITS_WEIGHT_WIDGET_NAME, &G::unitsWeight, ""},
    {&UNITS_DISTANCE_WIDGET_NAME, &G::unitsDistance, ""},
    {&MAIN_ERECTED_WIDGET_NAME_STD, &G::mainErectedStd, "MainErectedWidgetStd = "},
    {&MAIN_ERECTED_WIDGET_NAME_WIDE, &G::mainErectedWide, "MainErectedWidgetWide = "},
    {&MAIN_STOWED_WIDGET_NAME_STD, &G::mainStowedStd, "MainStowedWidgetStd = "},
    {&MAIN_STOWED_WIDGET_NAME_WIDE, &G::mainStowedWide, "MainStowedWidgetWide = "},
    {&CONFIG_ERECTED_WIDGET_NAME_STD, &G::configErectedStd, "ConfigErectedWidgetStd = "},
    {&CONFIG_ERECTED_WIDGET_NAME_WIDE, &G::configErectedWide, "ConfigErectedWidgetWide = "},
    {&CONFIG_STOWED_WIDGET_NAME_STD, &G::configStowedStd, "ConfigStowedWidgetStd = "},
    {&CONFIG_STOWED_WIDGET_NAME_WIDE, &G::configStowedWide, "ConfigStowedWidgetWide = "},
    {&WAD_CAPACITY_WIDGET_NAME, &G::wadCapacity, ""},
    {&WAD_LOAD_WIDGET_NAME, &G::wadLoad, ""},
    {&WAD_EXTENSION_WIDGET_NAME, &G::wadExtension, ""},
    {&WAD_ANGLE_WIDGET_NAME, &G::wadAngle, ""},
    {&WAD_RADIUS_WIDGET_NAME, &G::wadRadius, ""},
    {&WAD_SWING_WIDGET_NAME, &G::wadSwing, ""},
    {&WAD_UNITS_WEIGHT_WIDGET_NAME, &G::wadUnitsWeight, ""},
    {&WAD_UNITS_DISTANCE_WIDGET_NAME, &G::wadUnitsDistance, ""},
};

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
      widgets.push_back((data->gauges.*set.handles)[line] = lookUp((*set.names)[line]));
    }
  }
  for (const single_name_t& single : SINGLES) {
    widgets.push_back(data->gauges.*single.handle = lookUp(*single.name));
  }
  // Once: key threads walk the list, and a later initialisation finds the same handles.
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
